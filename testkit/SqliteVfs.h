#ifndef SQLITEVFS_H
#define SQLITEVFS_H

#include <cstdint>

/**
 * A layer between SQLite and the file system of this machine. A watcher is asked before each
 * operation, may refuse it, and gets its result. Nothing in the service knows of it.
 */
namespace SqliteVfs {

/// Operations on files and, from Open on, on names.
enum class Kind {
    Read,
    Write,
    Truncate,
    Sync,
    Size,
    Lock,
    Unlock,
    CheckLock,
    Close,
    Open,
    Delete,
    Access,
    FullName
};

/// One operation.
struct Operation {
    Kind kind;
    std::uint64_t* tag = nullptr;  ///< of the file, for the watcher's own use; 0 at first
    const char* name = nullptr;    ///< of an operation on names; null for a file without one
    const void* data = nullptr;    ///< what is written
    int size = 0;                  ///< of it
    long long offset = 0;          ///< where it is written, or the size to truncate to
    int flags = 0;                 ///< of an opening; of a deletion whether the folder is synced
};

class Watcher {
public:
    virtual ~Watcher() = default;

    /// Before an operation. Another code than SQLITE_OK is its result, and it is not done; what
    /// closes or unlocks is done all the same, since what is tried is how the caller takes the
    /// answer. The flags may be changed.
    virtual int before(Operation& operation);
    /// After an operation that was done.
    virtual void after(const Operation& operation, int code);
};

/// The name under which SQLite knows the file system without this layer.
extern const char* const PlainName;

/// Puts the layer in between: from here on each new connection goes through it. @p watcher must
/// outlive them all. False when SQLite refuses.
[[nodiscard]] bool install(Watcher& watcher);

/// Whether the calling thread is within the layer: what it asks the system for has been told.
bool isWithin();

}  // namespace SqliteVfs

#endif
