#ifndef PLACE_H
#define PLACE_H

#include <cstdlib>
#include <filesystem>
#include <string>

namespace Bench {

/// The programs stand next to each other, and the disk that they stand on is measured.
inline std::filesystem::path folderOfProgram() {
    return std::filesystem::read_symlink("/proc/self/exe").parent_path();
}

/// A folder with what a service needs, which goes with the object. The environment names the last
/// one that was made.
class Place {
public:
    explicit Place(const std::filesystem::path& parent) {
        std::string name = (parent / "das-bench-XXXXXX").string();
        m_folder = mkdtemp(name.data());
        for (const char* folder : {"root/data", "root/tmp", "root/Aurel_Deploy"}) {
            std::filesystem::create_directories(m_folder / folder);
        }
        setenv("DB_PATH", m_folder.c_str(), 1);
        setenv("DAS_ROOT", (m_folder / "root").c_str(), 1);
    }
    ~Place() { std::filesystem::remove_all(m_folder); }
    Place(const Place&) = delete;
    Place& operator=(const Place&) = delete;

    std::string path(const char* name) const { return m_folder / name; }

private:
    std::filesystem::path m_folder;
};

}  // namespace Bench

#endif
