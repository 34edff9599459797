#include "framework/FileProbe.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

#include "Storage.h"

namespace {

constexpr int Always = O_CLOEXEC | O_NONBLOCK;  // nobody may be at the other end of a pipe

int errorOf(const std::string& place, bool forWriting) {
    int descriptor = open(place.c_str(), (forWriting ? O_WRONLY : O_RDONLY) | Always);
    const bool isNew = forWriting && descriptor < 0 && errno == ENOENT;
    if (isNew) {
        descriptor = open(place.c_str(), O_WRONLY | O_CREAT | O_EXCL | Always, 0600);
    }
    if (descriptor < 0) {
        // A link to what is not there yet: the export makes it.
        return isNew && errno == EEXIST ? 0 : errno;
    }
    struct stat status {};
    const bool isFolder = fstat(descriptor, &status) == 0 && S_ISDIR(status.st_mode);
    if (isNew) {
        unlink(place.c_str());
    }
    close(descriptor);
    return isFolder ? EISDIR : 0;
}

}  // namespace

FileProbe FileProbe::of(const std::string& path, bool forWriting) {
    if (path.find('\0') != std::string::npos) {
        return {EINVAL, {}};
    }
    const std::string place = Storage::devicePath(path);
    return {place.empty() ? EPERM : errorOf(place, forWriting), place};
}
