#ifndef POWERCUTVFS_H
#define POWERCUTVFS_H

/**
 * SQLite's access to the disk, which may be cut: reports each open, write, truncate, sync and
 * delete to PowerCutDisk. PowerCutFiles.cpp reports the other changes that the process makes to
 * files.
 */
namespace PowerCutVfs {

/// Makes this the VFS of all databases opened from now on. False if SQLite refuses.
[[nodiscard]] bool install();

}  // namespace PowerCutVfs

#endif
