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
};

#endif
