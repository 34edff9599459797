#ifndef PLACE_H
#define PLACE_H

#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>

/// The contents of a file; blank when it is not there.
inline std::string readFile(const std::filesystem::path& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

inline void writeFile(const std::filesystem::path& path, std::string_view bytes) {
    std::ofstream(path, std::ios::binary) << bytes;
}

/// A folder of its own, which goes with the object.
class ScratchFolder {
public:
    explicit ScratchFolder(const std::filesystem::path& parent = memory()) {
        std::string name = (parent / "das-XXXXXX").string();
        if (::mkdtemp(name.data()) == nullptr) {
            throw std::runtime_error("can't make a folder below " + parent.string());
        }
        m_folder = name;
    }
    ~ScratchFolder() {
        std::error_code ignored;  // what is left over does no harm to the next one
        std::filesystem::remove_all(m_folder, ignored);
    }
    ScratchFolder(const ScratchFolder&) = delete;
    ScratchFolder& operator=(const ScratchFolder&) = delete;

    const std::filesystem::path& folder() const { return m_folder; }

    /// In memory where that can be had: a start makes all tables, and a disk waits for each.
    static std::filesystem::path memory() {
        const char* const inMemory = "/dev/shm";
        return ::access(inMemory, W_OK) == 0 ? inMemory : std::filesystem::temp_directory_path();
    }

private:
    std::filesystem::path m_folder;
};

/// Where the files of one telephone stand: its database in "db", its root in "root".
class PhonePlace {
public:
    explicit PhonePlace(std::filesystem::path folder) : m_folder(std::move(folder)) {}

    const std::filesystem::path& folder() const { return m_folder; }
    std::filesystem::path database() const { return m_folder / "db" / "phone.db"; }
    std::filesystem::path key() const { return m_folder / "db" / "dascrypt.key"; }
    std::filesystem::path root() const { return m_folder / "root"; }
    /// Where a path of the telephone stands.
    std::filesystem::path onDevice(const std::string& path) const {
        return root() / std::filesystem::path(path).relative_path();
    }

    /// Empties it and makes its folders.
    void make() const {
        std::filesystem::remove_all(m_folder);
        for (const char* folder : {"db", "root/data", "root/tmp", "root/Aurel_Deploy"}) {
            std::filesystem::create_directories(m_folder / folder);
        }
    }
    /// Makes it the same as @p other.
    void copyFrom(const PhonePlace& other) const {
        std::filesystem::remove_all(m_folder);
        std::filesystem::copy(other.m_folder, m_folder, std::filesystem::copy_options::recursive);
    }
    /// Sets the environment to it, without what the environment says of the hardware.
    void enter() const {
        ::setenv("DB_PATH", database().parent_path().c_str(), 1);
        ::setenv("DAS_ROOT", root().c_str(), 1);
        for (const char* name : {"DAS_HARDWARE", "DAS_DISK_USAGE"}) {
            ::unsetenv(name);
        }
    }

private:
    std::filesystem::path m_folder;
};

/// The place of a telephone in a folder of its own, which goes with the object. The environment
/// names the last one that was made.
class ScratchPlace : private ScratchFolder, public PhonePlace {
public:
    explicit ScratchPlace(const std::filesystem::path& parent = memory())
        : ScratchFolder(parent), PhonePlace(ScratchFolder::folder()) {
        make();
        enter();
    }
    using PhonePlace::folder;
};

#endif
