// Files are recognised by device and inode, and missing files by folder and name. So no link and no
// other form of a path leads a client to the database or its key.

#include "OwnFiles.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <mutex>
#include <set>

#include "DevicePlace.h"
#include "Log.h"

namespace {

constexpr mode_t RightsOfOwner = 0600;
constexpr mode_t RightsOfOthers = 0077;

std::mutex mutex;

std::set<std::string>& places() {
    static std::set<std::string> all;
    return all;
}

/// A copy, so that the mutex is not held during access to the disk.
std::set<std::string> allPlaces() {
    const std::lock_guard<std::mutex> lock(mutex);
    return places();
}

std::string folderOf(const std::string& place) {
    const std::size_t slash = place.rfind('/');
    return slash == std::string::npos ? "." : place.substr(0, slash + 1);
}

std::string nameOf(const std::string& place) {
    return place.substr(place.rfind('/') + 1);
}

bool isSame(const struct stat& one, const struct stat& other) {
    return one.st_dev == other.st_dev && one.st_ino == other.st_ino;
}

bool isAt(const std::string& place, const struct stat& file) {
    struct stat own {};
    return ::stat(place.c_str(), &own) == 0 && isSame(own, file);
}

/// Whether the folder of @p place, or one above it, is @p folder.
bool isBelow(const std::string& place, const struct stat& folder) {
    Descriptor here(::open(folderOf(place).c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC));
    struct stat status {};
    struct stat lower {};
    while (here.isOpen() && ::fstat(here.get(), &status) == 0 && !isSame(status, lower)) {
        if (isSame(status, folder)) {
            return true;
        }
        lower = status;  // the parent of the root folder is the root itself
        here = Descriptor(::openat(here.get(), "..", O_PATH | O_DIRECTORY | O_CLOEXEC));
    }
    return false;
}

}  // namespace

void OwnFiles::add(const std::string& place) {
    const std::lock_guard<std::mutex> lock(mutex);
    places().insert(place);
}

void OwnFiles::claim(const std::string& place) {
    add(place);
    // By its path: opening and closing the file would release the locks that this process has on a
    // database.
    struct stat status {};
    if (::stat(place.c_str(), &status) != 0 || !S_ISREG(status.st_mode) ||
        status.st_uid != ::geteuid() || (status.st_mode & RightsOfOthers) == 0) {
        return;
    }
    if (::chmod(place.c_str(), RightsOfOwner) != 0) {
        DAS_LOG(2, "Others may open %s, and its mode can't be changed: %s", place.c_str(),
                std::strerror(errno));
    }
}

bool OwnFiles::has(const struct stat& file) {
    const auto all = allPlaces();
    return std::any_of(all.begin(), all.end(),
                       [&](const std::string& place) { return isAt(place, file); });
}

bool OwnFiles::has(int folder, const std::string& name) {
    const std::string plainName = name.substr(0, name.find('/'));
    struct stat status {};
    struct stat file {};
    if (::fstat(folder, &status) != 0) {
        return false;
    }
    const auto all = allPlaces();
    const bool isNamed = std::any_of(all.begin(), all.end(), [&](const std::string& place) {
        return plainName == nameOf(place) && isAt(folderOf(place), status);
    });
    return isNamed ||
           (::fstatat(folder, plainName.c_str(), &file, AT_SYMLINK_NOFOLLOW) == 0 && has(file));
}

bool OwnFiles::areBelow(const struct stat& folder) {
    const auto all = allPlaces();
    return std::any_of(all.begin(), all.end(),
                       [&](const std::string& place) { return isBelow(place, folder); });
}
