#include "testkit/SqliteVfs.h"

#include <sqlite3.h>

namespace {

using SqliteVfs::Kind;
using SqliteVfs::Operation;

SqliteVfs::Watcher* watcher = nullptr;
sqlite3_vfs* plain = nullptr;  ///< the file system below
sqlite3_vfs layer;
thread_local int depth = 0;

/// A file of the layer: SQLite's part, followed by the file of the VFS below.
struct LayerFile {
    sqlite3_file base;
    sqlite3_file* below;
    std::uint64_t tag;
};

constexpr int HeadSize = (sizeof(LayerFile) + 15) / 16 * 16;

/// Runs @p work between the two calls of the watcher.
template <typename Work>
int watched(Operation operation, const Work& work) {
    ++depth;
    const bool isInAnyCase = operation.kind == Kind::Close || operation.kind == Kind::Unlock;
    const int refused = watcher->before(operation);
    int code = refused;
    if (refused == SQLITE_OK || isInAnyCase) {
        code = work(operation);
        watcher->after(operation, code);
    }
    --depth;
    return refused != SQLITE_OK ? refused : code;
}

/// Calls the operation @p method of the file below.
template <typename Method, typename... Arguments>
int onFile(Operation operation, sqlite3_file* file, Method method, Arguments... arguments) {
    auto* const made = reinterpret_cast<LayerFile*>(file);
    operation.tag = &made->tag;
    return watched(operation, [&](const Operation&) {
        return (made->below->pMethods->*method)(made->below, arguments...);
    });
}

using Methods = sqlite3_io_methods;

int closeFile(sqlite3_file* file) {
    return onFile({Kind::Close}, file, &Methods::xClose);
}

int readFrom(sqlite3_file* file, void* out, int size, sqlite3_int64 offset) {
    return onFile({Kind::Read}, file, &Methods::xRead, out, size, offset);
}

int writeTo(sqlite3_file* file, const void* in, int size, sqlite3_int64 offset) {
    return onFile({Kind::Write, nullptr, nullptr, in, size, offset}, file, &Methods::xWrite, in,
                  size, offset);
}

int truncateFile(sqlite3_file* file, sqlite3_int64 size) {
    return onFile({Kind::Truncate, nullptr, nullptr, nullptr, 0, size}, file, &Methods::xTruncate,
                  size);
}

int syncFile(sqlite3_file* file, int flags) {
    return onFile({Kind::Sync}, file, &Methods::xSync, flags);
}

int sizeOfFile(sqlite3_file* file, sqlite3_int64* size) {
    return onFile({Kind::Size}, file, &Methods::xFileSize, size);
}

int lockFile(sqlite3_file* file, int level) {
    return onFile({Kind::Lock}, file, &Methods::xLock, level);
}

int unlockFile(sqlite3_file* file, int level) {
    return onFile({Kind::Unlock}, file, &Methods::xUnlock, level);
}

int checkReservedLock(sqlite3_file* file, int* result) {
    return onFile({Kind::CheckLock}, file, &Methods::xCheckReservedLock, result);
}

// All other operations go directly to the file below and are never refused.

sqlite3_file* belowOf(sqlite3_file* file) {
    return reinterpret_cast<LayerFile*>(file)->below;
}

int controlFile(sqlite3_file* file, int operation, void* argument) {
    return belowOf(file)->pMethods->xFileControl(belowOf(file), operation, argument);
}

int sectorSize(sqlite3_file* file) {
    return belowOf(file)->pMethods->xSectorSize(belowOf(file));
}

int characteristics(sqlite3_file* file) {
    return belowOf(file)->pMethods->xDeviceCharacteristics(belowOf(file));
}

/// Version 1, without shared memory and memory mapping, because their accesses could not be refused
/// or reported.
const sqlite3_io_methods LayerMethods = {
    1,        closeFile,  readFrom,          writeTo,     truncateFile, syncFile,        sizeOfFile,
    lockFile, unlockFile, checkReservedLock, controlFile, sectorSize,   characteristics, nullptr,
    nullptr,  nullptr,    nullptr,           nullptr,     nullptr};

int openFile(sqlite3_vfs*, const char* name, sqlite3_file* file, int flags, int* outFlags) {
    auto* const made = reinterpret_cast<LayerFile*>(file);
    made->base.pMethods = nullptr;
    made->tag = 0;
    made->below = reinterpret_cast<sqlite3_file*>(reinterpret_cast<char*>(file) + HeadSize);
    return watched({Kind::Open, &made->tag, name, nullptr, 0, 0, flags}, [&](const Operation&) {
        const int code = plain->xOpen(plain, name, made->below, flags, outFlags);
        made->base.pMethods = made->below->pMethods != nullptr ? &LayerMethods : nullptr;
        return code;
    });
}

int deleteName(sqlite3_vfs*, const char* name, int syncFolder) {
    return watched({Kind::Delete, nullptr, name, nullptr, 0, 0, syncFolder},
                   [&](const Operation& told) { return plain->xDelete(plain, name, told.flags); });
}

int accessName(sqlite3_vfs*, const char* name, int flags, int* result) {
    return watched({Kind::Access, nullptr, name},
                   [&](const Operation&) { return plain->xAccess(plain, name, flags, result); });
}

int fullName(sqlite3_vfs*, const char* name, int size, char* out) {
    return watched({Kind::FullName, nullptr, name},
                   [&](const Operation&) { return plain->xFullPathname(plain, name, size, out); });
}

}  // namespace

const char* const SqliteVfs::PlainName = "unix";

int SqliteVfs::Watcher::before(Operation&) {
    return SQLITE_OK;
}

void SqliteVfs::Watcher::after(const Operation&, int) {}

bool SqliteVfs::install(Watcher& given) {
    watcher = &given;
    plain = sqlite3_vfs_find(PlainName);
    layer = *plain;
    layer.iVersion = 2;  // without the system-call functions, which would bypass the layer
    layer.zName = "watched";
    layer.szOsFile = HeadSize + plain->szOsFile;
    layer.pNext = nullptr;
    layer.xOpen = openFile;
    layer.xDelete = deleteName;
    layer.xAccess = accessName;
    layer.xFullPathname = fullName;
    return sqlite3_vfs_register(&layer, 1) == SQLITE_OK;
}

bool SqliteVfs::isWithin() {
    return depth > 0;
}
