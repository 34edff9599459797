// A new file is written next to its place, flushed and renamed: on a full disk the older file
// stays.

#include "cli/CallerFile.h"

#include <fcntl.h>
#include <limits.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <string_view>

#include "OwnFiles.h"
#include "framework/ServiceFiles.h"
#include "terminal/Complaint.h"
#include "terminal/Descriptor.h"

namespace {

using ServiceFiles::targetOf;

/// Writes to something that can't be replaced, such as a pipe.
int writeInto(const std::string& path, const std::string& text) {
    Descriptor file(open(path.c_str(), O_WRONLY | O_TRUNC | O_CLOEXEC));
    const int error = file.isOpen() ? Descriptor::writeAll(file.number(), text) : errno;
    return error != 0 ? error : file.close();
}

std::size_t nameBegin(const std::string& path) {
    return path.rfind('/') + 1;  // 0 without a folder
}

std::string folderOf(const std::string& path) {
    const std::size_t begin = nameBegin(path);
    return begin == 0 ? "./" : path.substr(0, begin);
}

/// Whether the file is one of SQLite: a host elsewhere may have it open.
bool isDatabase(const std::string& path) {
    constexpr std::string_view magic = "SQLite format 3";
    char begin[magic.size()];
    const Descriptor file(open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
    return file.isOpen() &&
           ::read(file.number(), begin, sizeof begin) == static_cast<ssize_t>(sizeof begin) &&
           std::string_view(begin, sizeof begin) == magic;
}

/// A service names its files when it starts, and a command line is looked at before that.
bool addFilesOfService() {
    const std::string folder = ServiceFiles::folder();
    const std::string database = ServiceFiles::in(folder, ServiceFiles::Database);
    // If the database is a link, its journals stand next to the file that it leads to.
    const std::string target = targetOf(database);
    OwnFiles::add(database);
    OwnFiles::add(ServiceFiles::in(folder, ServiceFiles::Key));
    for (const std::string& name : ServiceFiles::leftovers()) {
        OwnFiles::add(ServiceFiles::in(folder, name));
        OwnFiles::add(target + name.substr(std::string(ServiceFiles::Database).size()));
    }
    return true;
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
    if (isOfService(path)) {
        return EPERM;
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
    if (isOfService(path)) {
        return EPERM;
    }
    const bool isThere = stat(path.c_str(), &status) == 0;
    if (isThere && S_ISDIR(status.st_mode)) {
        return EISDIR;
    }
    if (isThere && S_ISREG(status.st_mode) && isDatabase(path)) {
        return EPERM;
    }
    return isThere && !S_ISREG(status.st_mode) ? writeInto(path, text)
                                               : replace(targetOf(path), text);
}

bool CallerFile::isOfService(const std::string& path) {
    static const bool areKnown = addFilesOfService();
    struct stat status {};
    if (areKnown && stat(path.c_str(), &status) == 0 && OwnFiles::has(status)) {
        return true;
    }
    const Descriptor folder(open(folderOf(path).c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC));
    return folder.isOpen() && OwnFiles::has(folder.number(), path.substr(nameBegin(path)));
}

void CallerFile::reportError(const std::string& subject, const std::string& path, int error,
                             const std::string& advice) {
    if (error == EPERM && isOfService(path)) {
        Complaint::report(subject + ": it is a file of the service itself", "name another file");
    } else if (error == EPERM && isDatabase(path)) {
        Complaint::report(subject + ": it is a database", "name another file");
    } else {
        Complaint::reportError(subject, error, advice);
    }
}

bool CallerFile::leadsTo(const std::string& path, int number) {
    constexpr int MostLinks = 40;
    std::string here = path;
    for (int links = 0; links < MostLinks; ++links) {
        const std::string folder = targetOf(folderOf(here));
        const std::string name = here.substr(nameBegin(here));
        if (folder == targetOf("/proc/self/fd") || folder == targetOf("/proc/thread-self/fd")) {
            return name == std::to_string(number);
        }
        char target[PATH_MAX];
        const std::string link = folder + "/" + name;
        const ssize_t length = readlink(link.c_str(), target, sizeof target);
        if (length <= 0) {
            return false;
        }
        const std::string next(target, static_cast<std::size_t>(length));
        here = next[0] == '/' ? next : folder + "/" + next;
    }
    return false;
}

std::optional<std::string> CallerFile::devicePath(const std::string& name) {
    const std::string prefix = "device:";
    return name.rfind(prefix, 0) == 0 ? std::optional(name.substr(prefix.size())) : std::nullopt;
}
