#ifndef POWERCUTVFS_H
#define POWERCUTVFS_H

/**
 * SQLite's way to the disk, so that the power can go there: reports to PowerCutDisk each open,
 * write, truncate, sync and delete. Whatever else the process does to its files is reported by the
 * calls to the system that PowerCutFiles.cpp stands in for.
 */
namespace PowerCutVfs {

/// Makes it the one that databases are opened with from now on. False when SQLite refuses.
[[nodiscard]] bool install();

}  // namespace PowerCutVfs

#endif
