#include "framework/DatabaseCheck.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <system_error>

#include "framework/DatabaseFile.h"
#include "framework/ServiceFiles.h"

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
    return path + ": " + std::generic_category().message(error) +
           (error == EACCES ? "; see to its rights"
                            : "; name the folder of phone.db by --db or DB_PATH");
}

}  // namespace

std::vector<std::string> databaseProblems() {
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
