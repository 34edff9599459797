#ifndef OWNFILES_H
#define OWNFILES_H

#include <string>

struct stat;

/**
 * The files that belong to the service and its host: the database with its journals and copies, the
 * key, locks, the socket. No path of the telephone reaches them, under whatever name: they are not
 * read, written, moved or removed by way of Storage, DeviceFile or DeviceFileWriter.
 */
class OwnFiles {
public:
    /// From now on the file at @p place, a path of this machine, is one of them; it need not be
    /// there yet, and its folder may be reached by other paths.
    static void add(const std::string& place);

    /// The same, and takes the rights of others from the file when it is this user's. A failure of
    /// that is logged.
    static void claim(const std::string& place);

    /// Whether @p file, links followed, is one of them by its device and inode.
    static bool has(const struct stat& file);

    /// Whether @p name in the folder of the descriptor @p folder is one of them, by its name or,
    /// for a hard link, by its device and inode. A link of that name is not followed.
    static bool has(int folder, const std::string& name);

    /// Whether one of them stands in @p folder or below it.
    static bool areBelow(const struct stat& folder);
};

#endif
