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
     * For messages and tests. A file is opened by DeviceFile and DeviceFileWriter, or named to an
     * operation below: a link at this place may lead elsewhere on this machine.
     *
     * @return empty text, and a log line, for a path that holds a zero byte, or that climbs above
     * that directory by ".."
     */
    static std::string devicePath(const std::string& path);

    /// What opening the file at @p path meets, a number of errno; 0 for nothing, and for what is
    /// refused with a line in the log when it is opened. Leaves no file and no line.
    static int errorOf(const std::string& path, bool forWriting);

    /// Whether there is something at @p path, links followed.
    static bool exists(const std::string& path);

    /// Fills @p list, emptied first, with the full paths of the directories in @p directory, sorted
    /// by bytes. A link to a directory is not one. Nothing for a directory that can't be read.
    static void getListOfDirectoriesByDirectoryWithPath(const std::string& directory,
                                                        std::list<std::string>& list);

    /// The same with the files and links in @p directory, as names or, with @p withPath, full
    /// paths.
    static void getListOfFilesAndLinksByDirectory(const std::string& directory,
                                                  std::list<std::string>& list, bool withPath);

    /// Fills @p names, emptied first, with the names of all that is in @p directory, sorted by
    /// bytes. Nothing for a directory that can't be read.
    static void getListOfNames(const std::string& directory, std::list<std::string>& names);

    /// Moves a file, replacing one of the new name; over the border of a file system by a copy that
    /// takes the name when it is whole and on the disk. Links are moved and replaced, not followed.
    /// False when nothing was moved; a file of the service itself, and a folder that holds one,
    /// stays where it is, which is logged.
    static bool renameFile(const std::string& oldName, const std::string& newName);

    /// Removes a file for good: its name is off the disk then. 0, or a number of errno, ENOENT when
    /// there was no such file. A file of the service itself is not removed, which is logged.
    static int removeFile(const std::string& path);

    /// Sets the mode of a folder. False, and errno says why, when the system refuses.
    static bool setFolderMode(const std::string& path, unsigned mode);

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
