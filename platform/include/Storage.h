#ifndef STORAGE_H
#define STORAGE_H

#include <string>

/// The telephone's file system.
class Storage {
public:
    /**
     * The place on this machine of the absolute path @p path of the telephone: below the directory
     * that "DAS_ROOT" of the environment names, or the path itself when that is unset or empty.
     *
     * To be called at the moment of the system call and nowhere else: logs, stored values and
     * answers keep the plain path. A path that is not absolute is returned as it is.
     */
    static std::string devicePath(const std::string& path);

    /**
     * How full the file system of @p path is, in percent of what a program may use, rounded up; 0
     * when it can't be told. A number in "DAS_DISK_USAGE" of the environment is answered instead.
     */
    static int checkDiskUsage(const std::string& path);

    /// The name under which a picture at @p path is stored: what follows the last slash.
    static std::string getStorageName(const std::string& path);
};

#endif
