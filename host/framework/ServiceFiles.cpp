// System calls are used instead of std::filesystem, because a file must have its mode from the
// beginning and must be on the disk before it is renamed, which that library can't do.

#include "framework/ServiceFiles.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/sendfile.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <memory>
#include <system_error>

#include "framework/DatabaseFile.h"
#include "terminal/Complaint.h"

namespace {

constexpr mode_t RightsOfOwner = 0600;
constexpr int NewFile = O_CREAT | O_EXCL | O_WRONLY | O_CLOEXEC;

int errorOf(bool isDone) {
    return isDone ? 0 : errno;
}

/// The error that a use of @p path would have, 0 if none. Either a folder is expected, or anything
/// but a folder.
int problemOf(const std::string& path, bool wantFolder) {
    struct stat status {};
    if (stat(path.c_str(), &status) != 0) {
        return errno;
    }
    if (S_ISDIR(status.st_mode) != wantFolder) {
        return wantFolder ? ENOTDIR : EISDIR;
    }
    const int wanted = R_OK | W_OK | (wantFolder ? X_OK : 0);
    return faccessat(AT_FDCWD, path.c_str(), wanted, AT_EACCESS) == 0 ? 0 : errno;
}

std::string toLine(const std::string& path, int error) {
    return path + ": " + std::generic_category().message(error) +
           (error == EACCES ? "; see to its rights"
                            : "; name the folder of phone.db by --db or DB_PATH");
}

}  // namespace

const std::vector<std::string>& ServiceFiles::leftovers() {
    static const std::vector<std::string> names = {"phone.db-journal", "phone.db-wal",
                                                   "phone.db-shm", "phone.db.before-upgrade",
                                                   "phone.db.before-upgrade.part"};
    return names;
}

std::string ServiceFiles::folder() {
    const char* const place = std::getenv("DB_PATH");
    return place == nullptr ? "." : *place == 0 ? "/" : place;
}

std::string ServiceFiles::in(const std::string& folder, const std::string& name) {
    return folder + "/" + name;
}

std::string ServiceFiles::targetOf(const std::string& path) {
    const std::unique_ptr<char, decltype(&std::free)> real(::realpath(path.c_str(), nullptr),
                                                           &std::free);
    return real == nullptr ? path : real.get();
}

bool ServiceFiles::isThere(const std::string& path) {
    return ::access(path.c_str(), F_OK) == 0;
}

bool ServiceFiles::checkDatabase(const std::string& command, const std::string& folder) {
    const bool hasDatabase = isThere(in(folder, Database));
    if (!hasDatabase) {
        Complaint::report(command + ": no database in " + folder,
                          "name the folder of a " + std::string(Database));
    }
    return hasDatabase;
}

std::vector<std::string> ServiceFiles::problems() {
    const std::string file = DatabaseFile::pathOfService();
    const std::string folder = ServiceFiles::folder();
    std::vector<std::string> lines;
    const int folderError = problemOf(folder, true);
    if (folderError != 0) {
        lines.push_back(toLine(folder, folderError));
    }
    if (folderError == ENOENT || folderError == ENOTDIR) {
        return lines;
    }
    const int fileError = problemOf(file, false);
    if (fileError != 0) {
        const bool isNew = fileError == ENOENT && folderError == 0;
        lines.push_back(isNew ? file + ": " + std::generic_category().message(fileError) +
                                    " (a new database is made there)"
                              : toLine(file, fileError));
    }
    return lines;
}

int ServiceFiles::makeFolder(const std::string& path) {
    return errorOf(::mkdir(path.c_str(), 0700) == 0);
}

int ServiceFiles::makeFile(const std::string& path) {
    const Descriptor file(::open(path.c_str(), NewFile, RightsOfOwner));
    return errorOf(file.isOpen());
}

int ServiceFiles::copy(const std::string& from, const std::string& to) {
    const Descriptor source(::open(from.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
    struct stat status {};
    if (!source.isOpen() || ::fstat(source.number(), &status) != 0) {
        return errno;
    }
    if (!S_ISREG(status.st_mode)) {
        return S_ISDIR(status.st_mode) ? EISDIR : EINVAL;
    }
    const Descriptor target(::open(to.c_str(), NewFile, RightsOfOwner));
    if (!target.isOpen()) {
        return errno;
    }
    // Copied inside the kernel, without a buffer in this process.
    constexpr std::size_t PieceSize = std::size_t{1} << 24;
    ssize_t count = 1;
    while (count > 0) {
        count = ::sendfile(target.number(), source.number(), nullptr, PieceSize);
    }
    return errorOf(count == 0 && ::fsync(target.number()) == 0);
}

int ServiceFiles::sync(const std::string& path) {
    const Descriptor file(::open(path.c_str(), O_RDONLY | O_CLOEXEC));
    return errorOf(file.isOpen() && ::fsync(file.number()) == 0);
}

ServiceFiles::FolderLock::FolderLock(const std::string& folder)
    : m_folder(::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC)),
      m_error(errorOf(m_folder.isOpen() && ::flock(m_folder.number(), LOCK_EX | LOCK_NB) == 0)) {}
