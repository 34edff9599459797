// A new file is written next to its place, flushed and renamed: on a full disk the older file
// stays.

#include "cli/CallerFile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <memory>

#include "terminal/Descriptor.h"

namespace {

/// Writes to something that can't be replaced, such as a pipe.
int writeInto(const std::string& path, const std::string& text) {
    Descriptor file(open(path.c_str(), O_WRONLY | O_TRUNC | O_CLOEXEC));
    const int error = file.isOpen() ? Descriptor::writeAll(file.number(), text) : errno;
    return error != 0 ? error : file.close();
}

/// The target of a link, so that the link itself stays.
std::string targetOf(const std::string& path) {
    const std::unique_ptr<char, void (*)(void*)> real(realpath(path.c_str(), nullptr), std::free);
    return real == nullptr ? path : real.get();
}

/// The temporary file is in the same folder, because a rename works only within a file system.
int replace(const std::string& path, const std::string& text) {
    std::string part = path + ".XXXXXX";
    Descriptor file(mkostemp(part.data(), O_CLOEXEC));
    if (!file.isOpen()) {
        return errno;
    }
    int error = Descriptor::writeAll(file.number(), text);
    error = error == 0 && fsync(file.number()) != 0 ? errno : error;
    error = error == 0 ? file.close() : error;
    error = error == 0 && rename(part.c_str(), path.c_str()) != 0 ? errno : error;
    if (error != 0) {
        (void)unlink(part.c_str());
    }
    return error;
}

}  // namespace

int CallerFile::read(const std::string& path, std::size_t most, std::string& text) {
    text.clear();
    if (path == "-") {
        return Descriptor::readAll(STDIN_FILENO, most, text);
    }
    const Descriptor file(open(path.c_str(), O_RDONLY | O_CLOEXEC));
    return file.isOpen() ? Descriptor::readAll(file.number(), most, text) : errno;
}

int CallerFile::readLess(const std::string& path, std::size_t most, std::string& text) {
    const int error = read(path, most, text);
    if (error == 0 && !text.empty() && text.back() == '\n') {
        text.pop_back();
    }
    return error;
}

int CallerFile::write(const std::string& path, const std::string& text) {
    struct stat status {};
    const bool isThere = stat(path.c_str(), &status) == 0;
    if (isThere && S_ISDIR(status.st_mode)) {
        return EISDIR;
    }
    return isThere && !S_ISREG(status.st_mode) ? writeInto(path, text)
                                               : replace(targetOf(path), text);
}

std::optional<std::string> CallerFile::devicePath(const std::string& name) {
    const std::string prefix = "device:";
    return name.rfind(prefix, 0) == 0 ? std::optional(name.substr(prefix.size())) : std::nullopt;
}
