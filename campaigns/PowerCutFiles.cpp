// Replaces the system calls by which the service itself writes files, such as its key and data
// files: the linker finds the program's functions before those of the C library. Each call is
// reported to PowerCutDisk and then passed on to the system.

#include <fcntl.h>
#include <stdarg.h>
#include <stdio.h>
#include <stdlib.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <string>

#include "PowerCutDisk.h"
#include "testkit/SqliteVfs.h"

namespace {

/// The disk, for calls that do not come from SQLite.
PowerCutDisk* disk() {
    return SqliteVfs::isWithin() ? nullptr : PowerCutDisk::current();
}

bool isThere(const char* path) {
    struct stat status {};
    return ::lstat(path, &status) == 0;
}

std::string folderOfDescriptor(int descriptor) {
    std::string path(4096, '\0');
    const std::string link = "/proc/self/fd/" + std::to_string(descriptor);
    const ssize_t size = ::readlink(link.c_str(), path.data(), path.size());
    path.resize(size > 0 ? static_cast<std::size_t>(size) : 0);
    return path;
}

/// The path of @p path relative to the folder of a descriptor.
std::string pathIn(int folder, const char* path) {
    return folder == AT_FDCWD || *path == '/' ? path : folderOfDescriptor(folder) + "/" + path;
}

int openTold(const char* path, int flags, mode_t mode) {
    PowerCutDisk* const told = (flags & O_ACCMODE) != O_RDONLY ? disk() : nullptr;
    const bool wasThere = told != nullptr && isThere(path);
    if (wasThere && (flags & O_TRUNC) != 0) {
        told->opened(path, true);
        if (const auto id = told->find(std::string(path))) {
            told->truncates(*id, 0);
        }
    }
    const auto file = static_cast<int>(::syscall(SYS_openat, AT_FDCWD, path, flags, mode));
    if (told != nullptr && file >= 0 && !wasThere) {
        told->opened(path, false);
    }
    return file;
}

bool isFolder(int descriptor) {
    struct stat status {};
    return ::fstat(descriptor, &status) == 0 && S_ISDIR(status.st_mode);
}

/// A sync of a folder is reported even if it comes from SQLite, because SQLite's VFS reports only
/// files.
int syncTold(int descriptor, long call) {
    PowerCutDisk* const any = PowerCutDisk::current();
    if (any != nullptr && isFolder(descriptor)) {
        const std::string folder = folderOfDescriptor(descriptor);
        any->syncsFolder(folder);
        any->syncedFolder(folder);
    } else if (disk() != nullptr) {
        if (const auto id = disk()->find(descriptor)) {
            disk()->syncs(*id);
            disk()->synced(*id);
        }
    }
    return static_cast<int>(::syscall(call, descriptor));
}

int removeTold(const char* path) {
    const bool wasFile = isThere(path);
    const auto code = static_cast<int>(::syscall(SYS_unlink, path));
    if (PowerCutDisk* told = disk(); told != nullptr && wasFile && code == 0) {
        told->removed(path);
    }
    return code;
}

void tellWrite(int descriptor, const void* data, std::size_t size) {
    PowerCutDisk* const told = disk();
    const auto id = told != nullptr ? told->find(descriptor) : std::nullopt;
    if (id) {
        const bool atEnd = (::fcntl(descriptor, F_GETFL) & O_APPEND) != 0;
        told->writes(*id, ::lseek(descriptor, 0, atEnd ? SEEK_END : SEEK_CUR), data, size);
    }
}

}  // namespace

extern "C" {

int open(const char* path, int flags, ...) {
    va_list arguments;
    va_start(arguments, flags);
    const mode_t mode = (flags & O_CREAT) != 0 ? va_arg(arguments, mode_t) : 0;
    va_end(arguments);
    return openTold(path, flags, mode);
}

int openat(int folder, const char* path, int flags, ...) {
    va_list arguments;
    va_start(arguments, flags);
    const mode_t mode = (flags & O_CREAT) != 0 ? va_arg(arguments, mode_t) : 0;
    va_end(arguments);
    const bool makes = (flags & O_CREAT) != 0;
    return makes ? openTold(pathIn(folder, path).c_str(), flags, mode)
                 : static_cast<int>(::syscall(SYS_openat, folder, path, flags, mode));
}

int mkostemp(char* path, int flags) {
    const std::string end = "XXXXXX";
    const std::string start = std::string(path).substr(0, std::string(path).size() - end.size());
    for (int number = 0; number < 1000000; ++number) {
        std::string digits = std::to_string(number);
        digits.insert(0, end.size() - digits.size(), '0');
        std::string(start + digits).copy(path, start.size() + digits.size());
        const int file = openTold(path, flags | O_RDWR | O_CREAT | O_EXCL, 0600);
        if (file >= 0 || errno != EEXIST) {
            return file;
        }
    }
    return -1;
}

ssize_t write(int descriptor, const void* data, size_t size) {
    tellWrite(descriptor, data, size);
    return ::syscall(SYS_write, descriptor, data, size);
}

int ftruncate(int descriptor, off_t size) noexcept {
    PowerCutDisk* const told = disk();
    if (const auto id = told != nullptr ? told->find(descriptor) : std::nullopt) {
        told->truncates(*id, size);
    }
    return static_cast<int>(::syscall(SYS_ftruncate, descriptor, size));
}

int fsync(int descriptor) {
    return syncTold(descriptor, SYS_fsync);
}

int fdatasync(int descriptor) {
    return syncTold(descriptor, SYS_fdatasync);
}

int unlink(const char* path) noexcept {
    return removeTold(path);
}

int remove(const char* path) noexcept {
    struct stat status {};
    const bool folder = ::lstat(path, &status) == 0 && S_ISDIR(status.st_mode);
    return folder ? ::rmdir(path) : removeTold(path);
}

int unlinkat(int folder, const char* path, int flags) noexcept {
    return flags == 0 ? removeTold(pathIn(folder, path).c_str())
                      : static_cast<int>(::syscall(SYS_unlinkat, folder, path, flags));
}

int renameat(int fromFolder, const char* from, int toFolder, const char* to) noexcept {
    return ::rename(pathIn(fromFolder, from).c_str(), pathIn(toFolder, to).c_str());
}

int rename(const char* from, const char* to) noexcept {
    const auto code = static_cast<int>(::syscall(SYS_rename, from, to));
    if (PowerCutDisk* told = disk(); told != nullptr && code == 0) {
        told->renamed(from, to);
    }
    return code;
}

int link(const char* from, const char* to) noexcept {
    const auto code = static_cast<int>(::syscall(SYS_link, from, to));
    if (PowerCutDisk* told = disk(); told != nullptr && code == 0) {
        told->linked(to);
    }
    return code;
}
}
