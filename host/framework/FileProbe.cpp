#include "framework/FileProbe.h"

#include <cerrno>

#include "Storage.h"

FileProbe FileProbe::of(const std::string& path, bool forWriting) {
    if (path.find('\0') != std::string::npos) {
        return {EINVAL, {}};
    }
    const std::string place = Storage::devicePath(path);
    return {place.empty() ? EPERM : Storage::errorOf(path, forWriting), place};
}
