#ifndef STORAGE_H
#define STORAGE_H

#include <iosfwd>
#include <list>
#include <string>

/// The telephone's file system. Paths are the telephone's own.
class Storage {
public:
    /**
     * The place on this machine of the path @p path of the telephone: below the directory that
     * "DAS_ROOT" of the environment names, or the path itself when that is unset or empty. A path
     * that is not absolute starts at the telephone's root.
     *
     * To be called at the moment of the system call and nowhere else: logs, stored values and
     * answers keep the plain path.
     *
     * @return empty text, and a log line, for a path that holds a zero byte, or that leaves that
     * directory by ".." or by a link
     */
    static std::string devicePath(const std::string& path);

    /// Opens the file at @p path to read; @p stream is closed when it can't be. std::bad_alloc when
    /// memory is short: what a file says must not be left out as if there were none.
    static void openToRead(std::ifstream& stream, const std::string& path);

    /// Fills @p list, emptied first, with the full paths of the directories in @p directory, sorted
    /// by bytes. A link to a directory is none. Nothing for a directory that can't be read.
    static void getListOfDirectoriesByDirectoryWithPath(const std::string& directory,
                                                        std::list<std::string>& list);

    /// The same with the files and links in @p directory, as names or, with @p withPath, full
    /// paths.
    static void getListOfFilesAndLinksByDirectory(const std::string& directory,
                                                  std::list<std::string>& list, bool withPath);

    /// Moves a file, replacing one of the new name; over the border of a file system by a copy that
    /// takes the name when it is whole. False when nothing was moved.
    static bool renameFile(const std::string& oldName, const std::string& newName);

    /// Brings the names in the folder of @p place, a path of this machine, to the disk: what was
    /// made, moved or removed there outlives a power cut. False when the system refuses.
    static bool syncFolderOf(const std::string& place);

    /**
     * How full the file system of @p path is, in percent of what a program may use, rounded up; 0
     * when it can't be told. A number in "DAS_DISK_USAGE" of the environment is answered instead.
     */
    static int checkDiskUsage(const std::string& path);

    /// The name under which a picture at @p path is stored: what follows the last slash.
    static std::string getStorageName(const std::string& path);
};

#endif
