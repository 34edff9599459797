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

    /// The error that opening the file at @p path would have, as an errno value; 0 if there is
    /// none, and also for a file whose refusal is logged when it is opened. It creates no file and
    /// logs nothing.
    static int errorOf(const std::string& path, bool forWriting);

    /// Whether something exists at @p path; links are followed.
    static bool exists(const std::string& path);

    /// Fills @p list, emptied first, with the full paths of the directories in @p directory, sorted
    /// by bytes. A link to a directory is not included. Empty if the directory can't be read.
    static void getListOfDirectoriesByDirectoryWithPath(const std::string& directory,
                                                        std::list<std::string>& list);

    /// The same with the files and links in @p directory: as names or, with @p withPath, as full
    /// paths.
    static void getListOfFilesAndLinksByDirectory(const std::string& directory,
                                                  std::list<std::string>& list, bool withPath);

    /// Fills @p names, emptied first, with the names of all entries of @p directory, sorted by
    /// bytes. Nothing for a directory that can't be read.
    static void getListOfNames(const std::string& directory, std::list<std::string>& names);

    /// Moves a file and replaces an existing file of the new name. Between file systems it copies
    /// the file; the copy gets its name when it is complete and on the disk. Links are moved and
    /// replaced, not followed. False if nothing was moved. A file of the service itself, or a
    /// folder that contains one, is not moved, which is logged.
    static bool renameFile(const std::string& oldName, const std::string& newName);

    /// Removes a file permanently: when this returns, its name is no longer on the disk. 0, or an
    /// errno value; ENOENT if there was no such file. A file of the service itself is not removed,
    /// which is logged.
    static int removeFile(const std::string& path);

    /// Sets the mode of a folder. False, and errno says why, if the system refuses.
    static bool setFolderMode(const std::string& path, unsigned mode);

    /// Syncs the folder of @p place, a path of this machine: files that were created, moved or
    /// removed there stay so after a power failure. False if the system refuses.
    static bool syncFolderOf(const std::string& place);

    /**
     * How full the file system of @p path is, in percent of the space that programs may use,
     * rounded up; 0 if it is not known. A number in "DAS_DISK_USAGE" of the environment is returned
     * instead.
     */
    static int checkDiskUsage(const std::string& path);

    /// The stored name of the picture at @p path: the part after the last slash.
    static std::string getStorageName(const std::string& path);
};

#endif
