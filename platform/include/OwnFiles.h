#ifndef OWNFILES_H
#define OWNFILES_H

#include <string>

struct stat;

/**
 * The files of the service and its host: the database with its journals and copies, the key, locks,
 * the socket. No path of the telephone gives access to them, whatever its form: Storage, DeviceFile
 * and DeviceFileWriter do not read, write, move or remove them.
 */
class OwnFiles {
public:
    /// Adds the file at @p place, a path of this machine. The file need not exist yet, and its
    /// folder may be reached by other paths.
    static void add(const std::string& place);

    /// The same; if this user owns the file, other users lose access to it. A failure to do so is
    /// logged.
    static void claim(const std::string& place);

    /// Whether @p file (links are followed) is one of them, by its device and inode.
    static bool has(const struct stat& file);

    /// Whether @p name in the folder of the descriptor @p folder is one of them: by its name or,
    /// for a hard link, by its device and inode. A symbolic link of that name is not followed.
    static bool has(int folder, const std::string& name);

    /// Whether one of them is in @p folder or below it.
    static bool areBelow(const struct stat& folder);
};

#endif
