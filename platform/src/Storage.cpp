#include "Storage.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <unistd.h>

#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <memory>
#include <new>
#include <string_view>

#include "Log.h"
#include "Progress.h"

namespace {

namespace fs = std::filesystem;

constexpr const char* LogComponent = "DataAccessService";
constexpr const char* LogSource = "./platform/src/Storage";

/// The directory below which the device's paths stand, without slashes at its end; empty for none.
std::string deviceRoot() {
    const char* value = std::getenv("DAS_ROOT");
    std::string root(value != nullptr ? value : "");
    while (!root.empty() && root.back() == '/') {
        root.pop_back();
    }
    return root;
}

bool isAtOrBelow(const std::string& place, const std::string& root) {
    return place.compare(0, root.size(), root) == 0 &&
           (place.size() == root.size() || place[root.size()] == '/');
}

/// The real path of @p place, empty when there is nothing of it or it can't be followed. Asks the
/// kernel in one go: link by link a deep path takes a call for each of its parts.
std::string realPath(const std::string& place) {
    const int file = ::open(place.c_str(), O_PATH | O_CLOEXEC);
    if (file < 0) {
        return {};
    }
    char real[PATH_MAX];
    const std::string self = "/proc/self/fd/" + std::to_string(file);
    const ssize_t length = ::readlink(self.c_str(), real, sizeof(real));
    ::close(file);
    return length > 0 ? std::string(real, static_cast<std::size_t>(length)) : std::string();
}

/// Whether @p place, its links followed as far as they exist, is outside of @p root. A place that
/// can't be followed for another reason than being missing is not: what is done with it fails.
bool leaves(const std::string& place, const std::string& root) {
    const std::string realRoot = realPath(root);
    fs::path existing = place;
    fs::path missing;
    std::string real = realPath(place);
    while (real.empty() && errno == ENOENT && existing.has_relative_path()) {
        missing = existing.filename() / missing;
        existing = existing.parent_path();
        real = realPath(existing.string());
    }
    if (realRoot.empty() || real.empty()) {
        return false;
    }
    return !isAtOrBelow(
        missing.empty() ? real : (fs::path(real) / missing).lexically_normal().string(), realRoot);
}

/// @p format takes the path.
void logRefusal(const char* format, const std::string& path) {
    if (loggingOnAppUni(LogComponent, 2)) {
        logAppUni(LogComponent, LogSource, 2, __LINE__, format, path.c_str());
    }
}

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
    const std::string place = Storage::devicePath(directory);
    const std::unique_ptr<DIR, DirectoryCloser> stream(::opendir(place.c_str()));
    if (stream == nullptr) {
        return;
    }
    while (const dirent* entry = ::readdir(stream.get())) {
        const std::string name = entry->d_name;
        struct stat status {};
        if (name != "." && name != ".." &&
            ::fstatat(::dirfd(stream.get()), entry->d_name, &status, AT_SYMLINK_NOFOLLOW) == 0) {
            take(name, status.st_mode);
        }
    }
}

/// Moves a file to another file system: a copy beside the target takes its name when it is whole.
bool moveByCopy(const std::string& from, const std::string& to) {
    std::error_code error;
    if (!fs::is_regular_file(fs::symlink_status(from, error))) {
        return false;
    }
    const std::string part = to + ".part";
    if (!fs::copy_file(from, part, fs::copy_options::overwrite_existing, error) ||
        std::rename(part.c_str(), to.c_str()) != 0) {
        fs::remove(part, error);
        return false;
    }
    if (!fs::remove(from, error)) {
        fs::remove(to, error);
        return false;
    }
    return true;
}

}  // namespace

std::string Storage::devicePath(const std::string& path) {
    // The system reads a path up to its first zero byte: a walk of directories would find the same
    // names at each depth, and never end.
    if (path.find('\0') != std::string::npos) {
        logRefusal("The path %s holds a zero byte", path);
        return {};
    }
    const std::string root = deviceRoot();
    if (root.empty() || path.empty()) {
        return path;
    }
    std::string place = root;
    if (path.front() != '/') {
        place += '/';
    }
    place += path;
    if (leaves(place, root)) {
        logRefusal("The path %s leaves the device", path);
        return {};
    }
    return place;
}

void Storage::openToRead(std::ifstream& stream, const std::string& path) {
    const std::string place = devicePath(path);
    errno = 0;
    stream.open(place, std::ios::binary);
    if (!stream.is_open() && errno == ENOMEM) {
        throw std::bad_alloc();
    }
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

bool Storage::renameFile(const std::string& oldName, const std::string& newName) {
    const std::string from = devicePath(oldName);
    const std::string to = devicePath(newName);
    if (std::rename(from.c_str(), to.c_str()) == 0) {
        return true;
    }
    return errno == EXDEV && moveByCopy(from, to);
}

bool Storage::syncFolderOf(const std::string& place) {
    const auto slash = place.rfind('/');
    const std::string folder = slash == std::string::npos ? "." : place.substr(0, slash + 1);
    const int file = ::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    const bool synced = file >= 0 && ::fsync(file) == 0;
    if (file >= 0) {
        ::close(file);
    }
    return synced;
}

int Storage::checkDiskUsage(const std::string& path) {
    const char* value = std::getenv("DAS_DISK_USAGE");
    char* end = nullptr;
    const long set = value != nullptr ? std::strtol(value, &end, 10) : 0;
    if (end != value) {
        return static_cast<int>(set);
    }
    struct statvfs status {};
    if (::statvfs(devicePath(path).c_str(), &status) != 0) {
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
