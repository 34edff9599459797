#include "PowerCutVfs.h"

#include <sqlite3.h>
#include <unistd.h>

#include <new>
#include <optional>
#include <string>

#include "PowerCutDisk.h"

namespace {

thread_local int depth = 0;

struct Busy {
    Busy() { ++depth; }
    ~Busy() { --depth; }
    Busy(const Busy&) = delete;
    Busy& operator=(const Busy&) = delete;
};

/// An open file; that of the system's VFS follows it in memory.
struct CutFile {
    sqlite3_file base;
    std::optional<PowerCutDisk::Id> id;  ///< none for files that do not outlive the process

    sqlite3_file* real() { return reinterpret_cast<sqlite3_file*>(this + 1); }
    const sqlite3_io_methods& methods() { return *real()->pMethods; }
};

CutFile& asCut(sqlite3_file* file) {
    return *reinterpret_cast<CutFile*>(file);
}

sqlite3_vfs* systemVfs(sqlite3_vfs* vfs) {
    return static_cast<sqlite3_vfs*>(vfs->pAppData);
}

/// The disk, when it keeps @p file.
PowerCutDisk* diskOf(CutFile& file) {
    return file.id ? PowerCutDisk::current() : nullptr;
}

int closeFile(sqlite3_file* file) {
    const Busy busy;
    CutFile& cut = asCut(file);
    const int code = cut.methods().xClose(cut.real());
    cut.id.~optional();
    return code;
}

int writeFile(sqlite3_file* file, const void* data, int size, sqlite3_int64 offset) {
    const Busy busy;
    CutFile& cut = asCut(file);
    if (PowerCutDisk* disk = diskOf(cut)) {
        disk->writes(*cut.id, offset, data, static_cast<std::size_t>(size));
    }
    return cut.methods().xWrite(cut.real(), data, size, offset);
}

int truncateFile(sqlite3_file* file, sqlite3_int64 size) {
    const Busy busy;
    CutFile& cut = asCut(file);
    if (PowerCutDisk* disk = diskOf(cut)) {
        disk->truncates(*cut.id, size);
    }
    return cut.methods().xTruncate(cut.real(), size);
}

int syncFile(sqlite3_file* file, int flags) {
    const Busy busy;
    CutFile& cut = asCut(file);
    PowerCutDisk* disk = diskOf(cut);
    if (disk != nullptr) {
        disk->syncs(*cut.id);
    }
    const int code = cut.methods().xSync(cut.real(), flags);
    if (disk != nullptr && code == SQLITE_OK) {
        disk->synced(*cut.id);
    }
    return code;
}

// The rest is the system's.

int readFile(sqlite3_file* file, void* data, int size, sqlite3_int64 offset) {
    return asCut(file).methods().xRead(asCut(file).real(), data, size, offset);
}

int sizeOfFile(sqlite3_file* file, sqlite3_int64* size) {
    return asCut(file).methods().xFileSize(asCut(file).real(), size);
}

int lockFile(sqlite3_file* file, int level) {
    return asCut(file).methods().xLock(asCut(file).real(), level);
}

int unlockFile(sqlite3_file* file, int level) {
    return asCut(file).methods().xUnlock(asCut(file).real(), level);
}

int checkReservedLock(sqlite3_file* file, int* result) {
    return asCut(file).methods().xCheckReservedLock(asCut(file).real(), result);
}

int controlFile(sqlite3_file* file, int operation, void* argument) {
    return asCut(file).methods().xFileControl(asCut(file).real(), operation, argument);
}

int sectorSize(sqlite3_file* file) {
    return asCut(file).methods().xSectorSize(asCut(file).real());
}

int deviceCharacteristics(sqlite3_file* file) {
    return asCut(file).methods().xDeviceCharacteristics(asCut(file).real());
}

/// Version 1: without shared memory and mapped pages, which the service does not use, a write can't
/// pass by.
const sqlite3_io_methods Methods = {1,
                                    closeFile,
                                    readFile,
                                    writeFile,
                                    truncateFile,
                                    syncFile,
                                    sizeOfFile,
                                    lockFile,
                                    unlockFile,
                                    checkReservedLock,
                                    controlFile,
                                    sectorSize,
                                    deviceCharacteristics,
                                    nullptr,
                                    nullptr,
                                    nullptr,
                                    nullptr,
                                    nullptr,
                                    nullptr};

int openFile(sqlite3_vfs* vfs, const char* name, sqlite3_file* file, int flags, int* outFlags) {
    const Busy busy;
    auto* cut = new (file) CutFile{};
    const bool isKept = name != nullptr && (flags & SQLITE_OPEN_DELETEONCLOSE) == 0;
    const bool wasThere = isKept && ::access(name, F_OK) == 0;
    const int code = systemVfs(vfs)->xOpen(systemVfs(vfs), name, cut->real(), flags, outFlags);
    if (cut->real()->pMethods != nullptr) {
        cut->base.pMethods = &Methods;
    }
    PowerCutDisk* disk = PowerCutDisk::current();
    if (code == SQLITE_OK && isKept && disk != nullptr) {
        cut->id = disk->find(name);
        disk->opened(name, wasThere);
    }
    return code;
}

int deleteFile(sqlite3_vfs* vfs, const char* name, int syncFolder) {
    const Busy busy;
    const bool wasThere = ::access(name, F_OK) == 0;
    // The folder is synced by itself, so that the name has been told before.
    const int code = systemVfs(vfs)->xDelete(systemVfs(vfs), name, 0);
    PowerCutDisk* disk = PowerCutDisk::current();
    if (disk != nullptr && wasThere && code == SQLITE_OK) {
        const std::string path = name;
        const std::string folder = path.substr(0, path.rfind('/'));
        disk->removed(path);
        if (syncFolder != 0) {
            disk->syncsFolder(folder);
        }
        // SQLite ends a transaction by the removal of its journal, and does not sync the folder
        // after it: a file system for it brings that removal down by itself.
        disk->syncedFolder(folder);
    }
    return code;
}

}  // namespace

bool PowerCutVfs::install() {
    sqlite3_vfs* system = sqlite3_vfs_find(nullptr);
    static sqlite3_vfs vfs = *system;
    vfs.iVersion = 2;  // without the calls to the system, which would pass by
    vfs.szOsFile = static_cast<int>(sizeof(CutFile)) + system->szOsFile;
    vfs.zName = "powercut";
    vfs.pAppData = system;
    vfs.pNext = nullptr;
    vfs.xOpen = openFile;
    vfs.xDelete = deleteFile;
    return sqlite3_vfs_register(&vfs, 1) == SQLITE_OK;
}

bool PowerCutVfs::isBusy() {
    return depth > 0;
}
