// Only regular files are read and written: a pipe or a device under a path that a client names
// would make a request wait for ever.

#include "FileKind.h"

#include <sys/stat.h>

#include <cerrno>

#include "Log.h"
#include "OwnFiles.h"

namespace {

const char* kindOf(mode_t mode) {
    switch (mode & S_IFMT) {
        case S_IFDIR:
            return "a folder";
        case S_IFIFO:
            return "a pipe";
        case S_IFSOCK:
            return "a socket";
        default:
            return "a device";
    }
}

void log(const char* action, const std::string& path, const char* kind, const char* advice) {
    DAS_LOG(2, "Cannot %s %s: it is %s; %s", action, path.c_str(), kind, advice);
}

}  // namespace

int FileKind::refusal(const struct stat& file, const char* action, const std::string& path) {
    if (!S_ISREG(file.st_mode)) {
        log(action, path, kindOf(file.st_mode), "name a regular file");
        return S_ISDIR(file.st_mode) ? EISDIR : EINVAL;
    }
    return OwnFiles::has(file) ? refuseOwn(action, path) : 0;
}

int FileKind::refuseOwn(const char* action, const std::string& path) {
    log(action, path, "a file of the service itself", "name another file");
    return EPERM;
}
