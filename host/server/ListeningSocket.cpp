// A socket file of a killed host must not prevent the next start, and a second host must not take
// the socket of a running one. Connecting shows whether a process listens. A lock makes this check
// and the bind one step.

#include "server/ListeningSocket.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <filesystem>
#include <optional>
#include <system_error>
#include <utility>

#include "Log.h"
#include "OwnFiles.h"
#include "terminal/Descriptor.h"
#include "wire/SocketAddress.h"

namespace {

constexpr mode_t ModeForGroup = 0660;
constexpr mode_t ModeForAll = 0666;

std::string lockFileOf(const std::string& path) {
    const std::filesystem::path socket(path);
    return (socket.parent_path() / ("." + socket.filename().string() + ".das-start")).string();
}

/// Only one host at a time checks a path and binds there. The lock has its own file, because the
/// folder may be that of the database, which a running host has locked.
///
/// A host holds the lock only for a moment. In a folder that others may write to, another user can
/// create the file and lock it forever; then the host continues without the lock.
class PathLock {
public:
    explicit PathLock(const std::string& path) : m_file(lockFileOf(path)) {
        const auto end = std::chrono::steady_clock::now() + Patience;
        do {
            m_descriptor.emplace(::open(m_file.c_str(),
                                        O_RDWR | O_CREAT | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC,
                                        S_IRUSR | S_IWUSR));
            m_isHeld = m_descriptor->isOpen() && isLocked(end);
        } while (m_isHeld && !isStillThere());
    }
    ~PathLock() {
        if (m_isHeld) {
            unlink(m_file.c_str());
        }
    }
    PathLock(const PathLock&) = delete;
    PathLock& operator=(const PathLock&) = delete;

    /// Whether the host may continue; if not, errno says why.
    bool isSettled() const { return m_isHeld || isHeldByOthers(); }

private:
    static constexpr std::chrono::seconds Patience{2};
    static constexpr int MillisecondsBetweenTries = 10;

    bool isLocked(std::chrono::steady_clock::time_point end) const {
        bool isHeld = flock(m_descriptor->number(), LOCK_EX | LOCK_NB) == 0;
        while (!isHeld && errno == EWOULDBLOCK && std::chrono::steady_clock::now() < end) {
            (void)poll(nullptr, 0, MillisecondsBetweenTries);
            isHeld = flock(m_descriptor->number(), LOCK_EX | LOCK_NB) == 0;
        }
        return isHeld;
    }

    /// False if the previous holder of the lock has removed the file.
    bool isStillThere() const {
        struct stat own {};
        struct stat there {};
        return fstat(m_descriptor->number(), &own) == 0 && lstat(m_file.c_str(), &there) == 0 &&
               own.st_dev == there.st_dev && own.st_ino == there.st_ino;
    }

    bool isHeldByOthers() const {
        const int error = errno;
        struct stat there {};
        const bool isForeign = lstat(m_file.c_str(), &there) == 0 && there.st_uid != geteuid();
        errno = error;
        if (!m_descriptor->isOpen() ? !isForeign : errno != EWOULDBLOCK) {
            return false;
        }
        logAppUni("das", "./host/ListeningSocket", 2, __LINE__,
                  "%s is %s: the host starts without this lock", m_file.c_str(),
                  isForeign ? "another user's" : "held by another process for too long");
        return true;
    }

    const std::string m_file;
    std::optional<Descriptor> m_descriptor;
    bool m_isHeld = false;
};

bool report(const std::string& path, int code, std::string& error) {
    error = path + ": " + std::generic_category().message(code);
    return false;
}

}  // namespace

ListeningSocket::~ListeningSocket() {
    remove();
    if (m_descriptor >= 0) {
        close(m_descriptor);
    }
}

void ListeningSocket::remove() {
    struct stat status {};
    if (m_isBound && lstat(m_path.c_str(), &status) == 0 && status.st_dev == m_device &&
        status.st_ino == m_inode) {
        unlink(m_path.c_str());
    }
    m_isBound = false;
}

bool ListeningSocket::open(const std::string& path, bool isForAll, std::string& error) {
    m_mode = isForAll ? ModeForAll : ModeForGroup;
    m_path = path;
    OwnFiles::add(path);
    OwnFiles::add(lockFileOf(path));
    SocketAddress address;
    if (!address.set(path, error)) {
        return false;
    }
    // Without the lock, two hosts that start at once could both find a stale socket, and the second
    // one would remove the new socket of the first.
    const PathLock lock(path);
    if (!lock.isSettled()) {
        return report(path, errno, error);
    }
    return replaceStale(error) && bindAndListen(error);
}

void ListeningSocket::adopt(int descriptor) {
    m_descriptor = descriptor;
    (void)listen(m_descriptor, SOMAXCONN);
}

int ListeningSocket::release() {
    return std::exchange(m_descriptor, -1);
}

/// Removes the socket at the path if no process listens there. False if something else is there.
bool ListeningSocket::replaceStale(std::string& error) const {
    struct stat status {};
    if (lstat(m_path.c_str(), &status) != 0) {
        return errno == ENOENT || report(m_path, errno, error);
    }
    if (!S_ISSOCK(status.st_mode)) {
        return report(m_path, S_ISDIR(status.st_mode) ? EISDIR : EEXIST, error);
    }
    const Descriptor probe(makeSocket());
    SocketAddress address;
    if (!probe.isOpen() || !address.set(m_path, error) ||
        fcntl(probe.number(), F_SETFL, O_NONBLOCK) != 0) {
        return report(m_path, errno, error);
    }
    if (connect(probe.number(), address.get(), SocketAddress::size()) == 0 || errno == EAGAIN) {
        error = m_path + ": another host listens there";
        return false;
    }
    return (errno == ECONNREFUSED && unlink(m_path.c_str()) == 0) || report(m_path, errno, error);
}

bool ListeningSocket::bindAndListen(std::string& error) {
    SocketAddress address;
    m_descriptor = makeSocket();
    // The file gets the mode of the socket at the bind, reduced by the umask. So it is never open
    // to others; afterwards it gets the bits that the umask removed.
    if (m_descriptor < 0 || !address.set(m_path, error) || fchmod(m_descriptor, m_mode) != 0 ||
        bind(m_descriptor, address.get(), SocketAddress::size()) != 0) {
        return report(m_path, errno, error);
    }
    struct stat status {};
    m_isBound = lstat(m_path.c_str(), &status) == 0;
    m_device = status.st_dev;
    m_inode = status.st_ino;
    return (chmod(m_path.c_str(), m_mode) == 0 && listen(m_descriptor, SOMAXCONN) == 0) ||
           report(m_path, errno, error);
}
