#include "FaultVfs.h"

#include <sqlite3.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <new>

namespace {

struct State {
    bool isArmed = false;
    FaultVfs::Fault fault = FaultVfs::Fault::IoError;
    long place = 0;
    bool forever = false;
    long counted = 0;
};

State state;
sqlite3_vfs* plain = nullptr;  ///< the file system below
sqlite3_vfs layer;

/// A file of the layer: SQLite's part, followed by that of the file system below.
struct LayerFile {
    sqlite3_file base;
    sqlite3_file* below;
};

constexpr int HeadSize = (sizeof(LayerFile) + 15) / 16 * 16;

sqlite3_file* belowOf(sqlite3_file* file) {
    return reinterpret_cast<LayerFile*>(file)->below;
}

bool isHit(FaultVfs::Fault fault) {
    if (!state.isArmed || state.fault != fault) {
        return false;
    }
    const long number = ++state.counted;
    return state.place > 0 && (number == state.place || (state.forever && number > state.place));
}

bool hasIoError() {
    return isHit(FaultVfs::Fault::IoError);
}

// ---- Files

int closeFile(sqlite3_file* file) {
    sqlite3_file* const below = belowOf(file);
    const int code = below->pMethods->xClose(below);
    return hasIoError() ? SQLITE_IOERR_CLOSE : code;
}

int readFile(sqlite3_file* file, void* out, int size, sqlite3_int64 offset) {
    sqlite3_file* const below = belowOf(file);
    return hasIoError() ? SQLITE_IOERR_READ : below->pMethods->xRead(below, out, size, offset);
}

int writeFile(sqlite3_file* file, const void* in, int size, sqlite3_int64 offset) {
    sqlite3_file* const below = belowOf(file);
    if (hasIoError()) {
        return SQLITE_IOERR_WRITE;
    }
    if (isHit(FaultVfs::Fault::Full)) {
        return SQLITE_FULL;
    }
    return below->pMethods->xWrite(below, in, size, offset);
}

int truncateFile(sqlite3_file* file, sqlite3_int64 size) {
    sqlite3_file* const below = belowOf(file);
    return hasIoError() ? SQLITE_IOERR_TRUNCATE : below->pMethods->xTruncate(below, size);
}

int syncFile(sqlite3_file* file, int flags) {
    sqlite3_file* const below = belowOf(file);
    return hasIoError() ? SQLITE_IOERR_FSYNC : below->pMethods->xSync(below, flags);
}

int sizeOfFile(sqlite3_file* file, sqlite3_int64* size) {
    sqlite3_file* const below = belowOf(file);
    return hasIoError() ? SQLITE_IOERR_FSTAT : below->pMethods->xFileSize(below, size);
}

int lockFile(sqlite3_file* file, int level) {
    sqlite3_file* const below = belowOf(file);
    return hasIoError() ? SQLITE_IOERR_LOCK : below->pMethods->xLock(below, level);
}

/// The lock goes in any case: what is tried is how the caller takes the answer.
int unlockFile(sqlite3_file* file, int level) {
    sqlite3_file* const below = belowOf(file);
    const int code = below->pMethods->xUnlock(below, level);
    return hasIoError() ? SQLITE_IOERR_UNLOCK : code;
}

int checkReservedLock(sqlite3_file* file, int* result) {
    sqlite3_file* const below = belowOf(file);
    return hasIoError() ? SQLITE_IOERR_CHECKRESERVEDLOCK
                        : below->pMethods->xCheckReservedLock(below, result);
}

int controlFile(sqlite3_file* file, int operation, void* argument) {
    sqlite3_file* const below = belowOf(file);
    return below->pMethods->xFileControl(below, operation, argument);
}

int sectorSize(sqlite3_file* file) {
    sqlite3_file* const below = belowOf(file);
    return below->pMethods->xSectorSize(below);
}

int characteristics(sqlite3_file* file) {
    sqlite3_file* const below = belowOf(file);
    return below->pMethods->xDeviceCharacteristics(below);
}

/// Version 1: without shared memory and maps, whose accesses no layer could refuse.
const sqlite3_io_methods methods = {
    1,        closeFile,  readFile,          writeFile,   truncateFile, syncFile,        sizeOfFile,
    lockFile, unlockFile, checkReservedLock, controlFile, sectorSize,   characteristics, nullptr,
    nullptr,  nullptr,    nullptr,           nullptr,     nullptr};

// ---- Names

int openFile(sqlite3_vfs*, const char* name, sqlite3_file* file, int flags, int* outFlags) {
    auto* const made = reinterpret_cast<LayerFile*>(file);
    made->base.pMethods = nullptr;
    made->below = reinterpret_cast<sqlite3_file*>(reinterpret_cast<char*>(file) + HeadSize);
    if (isHit(FaultVfs::Fault::CannotOpen) || hasIoError()) {
        return SQLITE_CANTOPEN;
    }
    const int code = plain->xOpen(plain, name, made->below, flags, outFlags);
    if (made->below->pMethods != nullptr) {
        made->base.pMethods = &methods;
    }
    return code;
}

int deleteName(sqlite3_vfs*, const char* name, int syncFolder) {
    return hasIoError() ? SQLITE_IOERR_DELETE : plain->xDelete(plain, name, syncFolder);
}

int accessName(sqlite3_vfs*, const char* name, int flags, int* result) {
    return hasIoError() ? SQLITE_IOERR_ACCESS : plain->xAccess(plain, name, flags, result);
}

int fullName(sqlite3_vfs*, const char* name, int size, char* out) {
    return isHit(FaultVfs::Fault::CannotOpen) ? SQLITE_CANTOPEN
                                              : plain->xFullPathname(plain, name, size, out);
}

}  // namespace

/// Stands in for the C library's: data files are written by it, and SQLite's by other calls. A refused
/// write leaves half of its bytes, as a disk that becomes full does.
extern "C" ssize_t write(int descriptor, const void* data, size_t size) {
    struct stat status {};
    const bool isRefused = state.isArmed && ::fstat(descriptor, &status) == 0 &&
                           S_ISREG(status.st_mode) && isHit(FaultVfs::Fault::Full);
    const ssize_t written = ::syscall(SYS_write, descriptor, data, isRefused ? size / 2 : size);
    if (!isRefused) {
        return written;
    }
    errno = ENOSPC;
    return -1;
}

const char* const FaultVfs::PlainName = "unix";

void FaultVfs::install() {
    plain = sqlite3_vfs_find(PlainName);
    layer = *plain;
    layer.zName = "faults";
    layer.szOsFile = HeadSize + plain->szOsFile;
    layer.pNext = nullptr;
    layer.xOpen = openFile;
    layer.xDelete = deleteName;
    layer.xAccess = accessName;
    layer.xFullPathname = fullName;
    sqlite3_vfs_register(&layer, 1);
}

void FaultVfs::arm(Fault fault, long place, bool forever) {
    state.isArmed = true;
    state.fault = fault;
    state.place = place;
    state.forever = forever;
    state.counted = 0;
}

long FaultVfs::counted() {
    return state.counted;
}

void FaultVfs::disarm() {
    state.isArmed = false;
}
