// Operations on files and directories for management. Paths are those of the telephone and go
// through DevicePlace. The service's own files are refused, because moving the database would take
// it away from a running service.

#include "Storage.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <memory>

#include "DeviceFile.h"
#include "DevicePlace.h"
#include "FileKind.h"
#include "Log.h"
#include "OwnFiles.h"
#include "Progress.h"

namespace {

constexpr int FolderToRead = O_RDONLY | O_DIRECTORY | O_NONBLOCK;

struct DirectoryCloser {
    void operator()(DIR* directory) const { ::closedir(directory); }
};

std::string withName(const std::string& directory, const std::string& name) {
    const bool hasSlash = !directory.empty() && directory.back() == '/';
    return hasSlash ? directory + name : directory + "/" + name;
}

/// Calls @p take with the name and the mode of each entry of @p directory.
template <typename Take>
void forEachEntry(const std::string& directory, Take take) {
    Descriptor folder = DevicePlace::open(directory, FolderToRead);
    const std::unique_ptr<DIR, DirectoryCloser> stream(folder.isOpen() ? ::fdopendir(folder.get())
                                                                       : nullptr);
    if (stream == nullptr) {
        return;
    }
    (void)folder.release();  // the stream now owns and closes it
    while (const dirent* entry = ::readdir(stream.get())) {
        const std::string name = entry->d_name;
        struct stat status {};
        if (name != "." && name != ".." &&
            ::fstatat(::dirfd(stream.get()), entry->d_name, &status, AT_SYMLINK_NOFOLLOW) == 0) {
            take(name, status.st_mode);
        }
    }
}

bool isFolder(const DevicePlace::Target& target, struct stat& status) {
    return ::fstatat(target.folder.get(), target.name.c_str(), &status, AT_SYMLINK_NOFOLLOW) == 0 &&
           S_ISDIR(status.st_mode);
}

/// Whether the file that @p target names may be moved or replaced; if not, the reason is logged.
bool isFree(const DevicePlace::Target& target, const std::string& path) {
    struct stat status {};
    if (OwnFiles::has(target.folder.get(), target.name)) {
        errno = FileKind::refuseOwn("move or replace", path);
        return false;
    }
    if (isFolder(target, status) && OwnFiles::areBelow(status)) {
        DAS_LOG(2, "Cannot move or replace %s: files of the service itself are in it",
                path.c_str());
        errno = EPERM;
        return false;
    }
    return true;
}

/// Moves a regular file to another file system.
bool moveByCopy(const DevicePlace::Target& from, const std::string& oldName,
                const std::string& newName) {
    struct stat status {};
    if (::fstatat(from.folder.get(), from.name.c_str(), &status, AT_SYMLINK_NOFOLLOW) != 0 ||
        !S_ISREG(status.st_mode)) {
        return false;
    }
    DeviceFile source(oldName);
    DeviceFileWriter copy(newName);
    std::string bytes(65536, '\0');
    while (source.read(bytes.data(), static_cast<std::streamsize>(bytes.size())) ||
           source.gcount() > 0) {
        copy.write({bytes.data(), static_cast<std::size_t>(source.gcount())});
    }
    if (!source.isOpen() || source.bad() || !copy.finish(status.st_mode & 07777U)) {
        return false;
    }
    if (::unlinkat(from.folder.get(), from.name.c_str(), 0) != 0) {
        (void)Storage::removeFile(newName);
        return false;
    }
    return true;
}

/// The error that creating a file at @p path would have.
int errorOfWriting(const std::string& path) {
    const DevicePlace::Target target = DevicePlace::target(path);
    struct stat older {};
    if (!target.folder.isOpen()) {
        return errno;
    }
    const int folder = target.folder.get();
    const char* const name = target.name.c_str();
    if (::fstatat(folder, name, &older, AT_SYMLINK_NOFOLLOW) == 0) {
        if (S_ISDIR(older.st_mode)) {
            return EISDIR;
        }
        if (S_ISREG(older.st_mode) && ::faccessat(folder, name, W_OK, 0) != 0) {
            return errno;
        }
    } else if (errno != ENOENT) {
        return errno;
    }
    return ::faccessat(folder, ".", W_OK | X_OK, 0) == 0 ? 0 : errno;
}

}  // namespace

std::string Storage::devicePath(const std::string& path) {
    const std::string root = DevicePlace::root();
    if (!DevicePlace::isAllowed(path)) {
        return {};
    }
    if (root.empty() || path.empty()) {
        return path;
    }
    return path.front() == '/' ? root + path : root + "/" + path;
}

int Storage::errorOf(const std::string& path, bool forWriting) {
    if (forWriting) {
        return errorOfWriting(path);
    }
    const Descriptor file = DevicePlace::open(path, O_RDONLY | O_NONBLOCK | O_NOCTTY);
    struct stat status {};
    if (!file.isOpen()) {
        return errno == ENXIO ? 0 : errno;  // a socket, which is refused when it is opened
    }
    return ::fstat(file.get(), &status) == 0 && S_ISDIR(status.st_mode) ? EISDIR : 0;
}

bool Storage::exists(const std::string& path) {
    return DevicePlace::open(path, O_PATH).isOpen();
}

void Storage::getListOfDirectoriesByDirectoryWithPath(const std::string& directory,
                                                      std::list<std::string>& list) {
    list.clear();
    Progress::beat();
    forEachEntry(directory, [&](const std::string& name, mode_t mode) {
        if (S_ISDIR(mode)) {
            list.push_back(withName(directory, name));
        }
    });
    list.sort();
}

void Storage::getListOfFilesAndLinksByDirectory(const std::string& directory,
                                                std::list<std::string>& list, bool withPath) {
    list.clear();
    forEachEntry(directory, [&](const std::string& name, mode_t mode) {
        if (S_ISREG(mode) || S_ISLNK(mode)) {
            list.push_back(withPath ? withName(directory, name) : name);
        }
    });
    list.sort();
}

void Storage::getListOfNames(const std::string& directory, std::list<std::string>& names) {
    names.clear();
    forEachEntry(directory,
                 [&](const std::string& name, mode_t /*mode*/) { names.push_back(name); });
    names.sort();
}

bool Storage::renameFile(const std::string& oldName, const std::string& newName) {
    const DevicePlace::Target from = DevicePlace::target(oldName);
    const DevicePlace::Target to = DevicePlace::target(newName);
    if (!from.folder.isOpen() || !to.folder.isOpen() || !isFree(from, oldName) ||
        !isFree(to, newName)) {
        return false;
    }
    if (::renameat(from.folder.get(), from.name.c_str(), to.folder.get(), to.name.c_str()) != 0) {
        return errno == EXDEV && moveByCopy(from, oldName, newName);
    }
    (void)DevicePlace::syncNames(to.folder);  // if this fails, the file has its name nevertheless
    return true;
}

int Storage::removeFile(const std::string& path) {
    const DevicePlace::Target target = DevicePlace::target(path);
    if (!target.folder.isOpen()) {
        return errno;
    }
    if (OwnFiles::has(target.folder.get(), target.name)) {
        return FileKind::refuseOwn("remove", path);
    }
    const int error = ::unlinkat(target.folder.get(), target.name.c_str(), 0) == 0 ? 0 : errno;
    (void)DevicePlace::syncNames(target.folder);
    return error;
}

bool Storage::setFolderMode(const std::string& path, unsigned mode) {
    const Descriptor folder = DevicePlace::open(path, FolderToRead);
    if (folder.isOpen()) {
        return ::fchmod(folder.get(), mode) == 0;
    }
    // If this user may not read the folder, its mode is set by the name in /proc/self/fd, which no
    // link can change.
    const Descriptor unread = DevicePlace::open(path, O_PATH | O_DIRECTORY);
    const std::string self = "/proc/self/fd/" + std::to_string(unread.get());
    return unread.isOpen() && ::chmod(self.c_str(), mode) == 0;
}

bool Storage::syncFolderOf(const std::string& place) {
    const auto slash = place.rfind('/');
    const std::string folder = slash == std::string::npos ? "." : place.substr(0, slash + 1);
    const Descriptor names(::open(folder.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC));
    return names.isOpen() && DevicePlace::syncNames(names);
}

int Storage::checkDiskUsage(const std::string& path) {
    const char* value = std::getenv("DAS_DISK_USAGE");
    char* end = nullptr;
    const long set = value != nullptr ? std::strtol(value, &end, 10) : 0;
    if (end != value) {
        return static_cast<int>(set);
    }
    const Descriptor file = DevicePlace::open(path, O_PATH);
    struct statvfs status {};
    if (!file.isOpen() || ::fstatvfs(file.get(), &status) != 0) {
        return 0;
    }
    const auto used = status.f_blocks - status.f_bfree;
    const auto usable = used + status.f_bavail;
    return usable == 0 ? 0 : static_cast<int>((used * 100 + usable - 1) / usable);
}

std::string Storage::getStorageName(const std::string& path) {
    const std::size_t slash = path.rfind('/');
    return slash == std::string::npos ? path : path.substr(slash + 1);
}
