#include "Storage.h"

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
