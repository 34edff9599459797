#ifndef SQLITEVFS_H
#define SQLITEVFS_H

#include <cstdint>

/**
 * A layer between SQLite and the file system. A watcher is called before each operation, may refuse
 * it, and gets its result. The service does not know about it.
 */
namespace SqliteVfs {

/// Operations on files; from Open on, operations on names.
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
    const char* name = nullptr;    ///< of an operation on names; null for a temporary file without
                                   ///< a name
    const void* data = nullptr;    ///< what is written
    int size = 0;                  ///< of the data
    long long offset = 0;          ///< where it is written, or the size to truncate to
    int flags = 0;                 ///< for Open its flags; for Delete whether the folder is synced
};

class Watcher {
public:
    virtual ~Watcher() = default;

    /// Called before an operation. If it returns anything but SQLITE_OK, this becomes the result,
    /// and the operation is not done. Closing and unlocking are done nevertheless, since only the
    /// reaction of the caller is tested. The flags may be changed.
    virtual int before(Operation& operation);
    /// Called after an operation that was done.
    virtual void after(const Operation& operation, int code);
};

/// The name under which SQLite knows the file system without this layer.
extern const char* const PlainName;

/// Installs the layer: from here on each new connection uses it. @p watcher must outlive all
/// connections. False if SQLite refuses.
[[nodiscard]] bool install(Watcher& watcher);

/// Whether the calling thread is inside the layer: its system calls were already reported.
bool isWithin();

}  // namespace SqliteVfs

#endif
