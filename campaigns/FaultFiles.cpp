#include "FaultFiles.h"

#include <sqlite3.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>

#include "testkit/SqliteVfs.h"

namespace {

using FaultFiles::Fault;
using SqliteVfs::Kind;

/// The code of an I/O error for each kind of operation, in the order of the kinds.
const int IoErrors[] = {
    SQLITE_IOERR_READ,  SQLITE_IOERR_WRITE, SQLITE_IOERR_TRUNCATE, SQLITE_IOERR_FSYNC,
    SQLITE_IOERR_FSTAT, SQLITE_IOERR_LOCK,  SQLITE_IOERR_UNLOCK,   SQLITE_IOERR_CHECKRESERVEDLOCK,
    SQLITE_IOERR_CLOSE, SQLITE_CANTOPEN,    SQLITE_IOERR_DELETE,   SQLITE_IOERR_ACCESS,
    SQLITE_OK};

class Refuser : public SqliteVfs::Watcher {
public:
    int before(SqliteVfs::Operation& operation) override {
        const int code = codeOf(operation.kind);
        return code != SQLITE_OK && isHit() ? code : SQLITE_OK;
    }

    /// Whether an operation that the fault can hit is refused.
    bool isHit() {
        if (!isArmed) {
            return false;
        }
        const long number = ++counted;
        return place > 0 && (number == place || (forever && number > place));
    }

    bool isArmed = false;
    Fault fault = Fault::IoError;
    long place = 0;
    bool forever = false;
    long counted = 0;

private:
    /// The result of the fault for an operation of that kind; SQLITE_OK if it does not affect it.
    int codeOf(Kind kind) const {
        switch (fault) {
            case Fault::IoError:
                return IoErrors[static_cast<std::size_t>(kind)];
            case Fault::Full:
                return kind == Kind::Write ? SQLITE_FULL : SQLITE_OK;
            default:
                return kind == Kind::Open || kind == Kind::FullName ? SQLITE_CANTOPEN : SQLITE_OK;
        }
    }
};

Refuser refuser;

}  // namespace

/// Replaces the C library's function, which writes data files; SQLite uses other functions. A
/// refused write stores half of its bytes, like a disk that becomes full.
extern "C" ssize_t write(int descriptor, const void* data, size_t size) {
    struct stat status {};
    const bool isRefused = refuser.isArmed && refuser.fault == Fault::Full &&
                           ::fstat(descriptor, &status) == 0 && S_ISREG(status.st_mode) &&
                           refuser.isHit();
    const ssize_t written = ::syscall(SYS_write, descriptor, data, isRefused ? size / 2 : size);
    if (!isRefused) {
        return written;
    }
    errno = ENOSPC;
    return -1;
}

bool FaultFiles::install() {
    return SqliteVfs::install(refuser);
}

void FaultFiles::arm(Fault fault, long place, bool forever) {
    refuser.isArmed = true;
    refuser.fault = fault;
    refuser.place = place;
    refuser.forever = forever;
    refuser.counted = 0;
}

long FaultFiles::counted() {
    return refuser.counted;
}

void FaultFiles::disarm() {
    refuser.isArmed = false;
}
