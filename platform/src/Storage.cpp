#include "Storage.h"

#include <sys/statvfs.h>

#include <cstdlib>

std::string Storage::devicePath(const std::string& path) {
    const char* value = std::getenv("DAS_ROOT");
    if (value == nullptr || path.empty() || path.front() != '/') {
        return path;
    }
    std::string place(value);
    while (!place.empty() && place.back() == '/') {
        place.pop_back();
    }
    return place += path;
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
