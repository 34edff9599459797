#ifndef SERVICEFILES_H
#define SERVICEFILES_H

#include <string>
#include <vector>

#include "terminal/Descriptor.h"

/// The files of a service in the folder of its database, for the commands that work on the files
/// themselves. Errors are numbers of errno, 0 for none.
///
/// Files and folders that are created here are accessible only to their owner from the beginning:
/// the database holds passwords, and the key decrypts them.
namespace ServiceFiles {

constexpr const char* Database = "phone.db";
constexpr const char* Key = "dascrypt.key";

/// Files that belong to one state of the database: journals, and the copy of an upgrade.
const std::vector<std::string>& leftovers();

/// The folder of the service's database by DB_PATH, or the working directory.
std::string folder();

/// The path of @p name in @p folder.
std::string in(const std::string& folder, const std::string& name);

/// The file that @p path leads to through links, or @p path itself if it is missing. Next to it are
/// the journals of a database.
std::string targetOf(const std::string& path);

/// Whether a file, folder or link with this path exists.
bool isThere(const std::string& path);

/// Whether @p folder contains a database. If not, an error message for @p command is printed.
[[nodiscard]] bool checkDatabase(const std::string& command, const std::string& folder);

/**
 * Lists the problems with the folder and the file where the service will open its database. Nothing
 * is changed.
 *
 * @return a line with the system's message for each, the folder and the file, that is missing, of
 *         the wrong kind, or not readable or writable. The file is left out where there is no
 *         folder; a
 *         missing one in a good folder is reported as well, since the service makes a new one
 *         there.
 */
std::vector<std::string> problems();

/// Creates a folder that only its owner can access.
int makeFolder(const std::string& path);

/// Copies the file @p from to the new file @p to, which only its owner can access, and syncs it.
int copy(const std::string& from, const std::string& to);

/// Creates an empty file that only its owner can access.
int makeFile(const std::string& path);

/// Syncs a file, or the names in a folder.
int sync(const std::string& path);

/// Finds out whether a process uses the database: each service locks the folder while it runs.
class FolderLock {
public:
    /// Tries to lock @p folder, so that no service can use it as long as the object lives.
    explicit FolderLock(const std::string& folder);

    /// 0 if no service runs there; EWOULDBLOCK if one does.
    int error() const { return m_error; }

private:
    const Descriptor m_folder;
    const int m_error;
};

}  // namespace ServiceFiles

#endif
