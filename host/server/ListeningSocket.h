#ifndef LISTENINGSOCKET_H
#define LISTENINGSOCKET_H

#include <sys/types.h>

#include <string>

/**
 * A Unix domain socket that clients can connect to, for its owner and group, or for all.
 *
 * A socket on which no process listens any more is replaced. A socket in use, or any other file at
 * the path, stays. The destructor removes the socket file, unless this was done before.
 */
class ListeningSocket {
public:
    ListeningSocket() = default;
    ~ListeningSocket();
    ListeningSocket(const ListeningSocket&) = delete;
    ListeningSocket& operator=(const ListeningSocket&) = delete;

    /// Listens at @p path. False, with the reason in @p error, if that is not possible. Call it
    /// once. With @p isForAll every user can connect, otherwise the owner and the group.
    [[nodiscard]] bool open(const std::string& path, bool isForAll, std::string& error);

    /// Takes over @p descriptor, which listens already, and sets its queue to the maximum of the
    /// system; its socket file stays. Call it instead of open().
    void adopt(int descriptor);

    /// Removes the socket file, if it still exists and still belongs to this socket. Call it while
    /// the socket listens, so that no other host can have replaced it.
    void remove();

    /// Passes the descriptor to the caller, who closes it.
    int release();

private:
    /// Both run under the lock of the path. False, with the reason in @p error, on failure: a
    /// socket of another host, or any other file at the path, stays.
    bool replaceStale(std::string& error) const;
    bool bindAndListen(std::string& error);

    std::string m_path;
    int m_descriptor = -1;
    mode_t m_mode = 0;  ///< of the socket file
    /// Whether this object must remove the socket file at the path; false for an adopted socket.
    bool m_isBound = false;
    dev_t m_device = 0;  ///< of the socket file, to recognise it
    ino_t m_inode = 0;
};

#endif
