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

/// The contents of a file; blank if it does not exist.
inline std::string readFile(const std::filesystem::path& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

inline void writeFile(const std::filesystem::path& path, std::string_view bytes) {
    std::ofstream(path, std::ios::binary) << bytes;
}

/// A temporary folder, which is removed with the object.
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
        std::error_code ignored;  // if files are left over, the next test is not affected
        std::filesystem::remove_all(m_folder, ignored);
    }
    ScratchFolder(const ScratchFolder&) = delete;
    ScratchFolder& operator=(const ScratchFolder&) = delete;

    const std::filesystem::path& folder() const { return m_folder; }

    /// In memory if that is possible, because a start creates all tables, and a disk is slow for
    /// each.
    static std::filesystem::path memory() {
        const char* const inMemory = "/dev/shm";
        return ::access(inMemory, W_OK) == 0 ? inMemory : std::filesystem::temp_directory_path();
    }

private:
    std::filesystem::path m_folder;
};

/// The paths of one telephone: its database is in "db", its root is "root".
class PhonePlace {
public:
    explicit PhonePlace(std::filesystem::path folder) : m_folder(std::move(folder)) {}

    const std::filesystem::path& folder() const { return m_folder; }
    std::filesystem::path database() const { return m_folder / "db" / "phone.db"; }
    std::filesystem::path key() const { return m_folder / "db" / "dascrypt.key"; }
    std::filesystem::path root() const { return m_folder / "root"; }
    /// The path on this machine of a path of the telephone.
    std::filesystem::path onDevice(const std::string& path) const {
        return root() / std::filesystem::path(path).relative_path();
    }

    /// Removes all contents and creates its folders.
    void make() const {
        std::filesystem::remove_all(m_folder);
        for (const char* folder : {"db", "root/data", "root/tmp", "root/Aurel_Deploy"}) {
            std::filesystem::create_directories(m_folder / folder);
        }
    }
    /// Makes its contents the same as those of @p other.
    void copyFrom(const PhonePlace& other) const {
        std::filesystem::remove_all(m_folder);
        std::filesystem::copy(other.m_folder, m_folder, std::filesystem::copy_options::recursive);
    }
    /// Sets the environment to these paths, and removes the variable for the hardware.
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

/// A telephone in a temporary folder, which is removed with the object. The environment names the
/// one that was created last.
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
