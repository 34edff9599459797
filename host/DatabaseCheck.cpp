#include "DatabaseCheck.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <system_error>

namespace {

/// The error that using @p path would meet, 0 for none. A folder is wanted, or anything but one.
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
    return path + ": " + std::generic_category().message(error);
}

}  // namespace

std::string databaseProblem() {
    const char* folder = std::getenv("DB_PATH");
    const std::string prefix = folder == nullptr ? "" : std::string(folder) + "/";
    const int folderError = problemOf(prefix.empty() ? "." : prefix, true);
    if (folderError != 0) {
        return toLine(folder == nullptr ? "." : folder, folderError);
    }
    const int fileError = problemOf(prefix + "phone.db", false);
    if (fileError == 0) {
        return "";
    }
    return toLine(prefix + "phone.db", fileError) +
           (fileError == ENOENT ? " (a new database is made there)" : "");
}
