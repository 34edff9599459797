#ifndef LISTENINGSOCKET_H
#define LISTENINGSOCKET_H

#include <sys/types.h>

#include <string>

/**
 * A Unix domain socket that clients can connect to, for its owner and group, or for all.
 *
 * A socket that no process listens on any more is replaced; one that is in use, and anything else
 * that stands at the path, is left alone. When the object goes, its socket file goes, unless that
 * was done before.
 */
class ListeningSocket {
public:
    ListeningSocket() = default;
    ~ListeningSocket();
    ListeningSocket(const ListeningSocket&) = delete;
    ListeningSocket& operator=(const ListeningSocket&) = delete;

    /// Listens at @p path. False when that is not possible, with the reason in @p error. To be
    /// called once.
    /// With @p isForAll every user can connect, else the owner and the group.
    [[nodiscard]] bool open(const std::string& path, bool isForAll, std::string& error);

    /// Takes over @p descriptor, which listens already, and lets as many clients wait there as the
    /// system allows; its socket file stays. To be called in place of open().
    void adopt(int descriptor);

    /// Removes the socket file, if it is still there and still this one. To be called while the
    /// socket listens, so that no other host can have taken its place.
    void remove();

    /// Hands the descriptor over to the caller, who closes it.
    int release();

private:
    /// Both under the lock of the path. False with the reason in @p error; a socket file of another
    /// host, and whatever else stands at the path, is left as it is then.
    bool replaceStale(std::string& error) const;
    bool bindAndListen(std::string& error);

    std::string m_path;
    int m_descriptor = -1;
    mode_t m_mode = 0;  ///< of the socket file
    /// Whether the socket file at the path is this one's to remove; one that was adopted is not.
    bool m_isBound = false;
    dev_t m_device = 0;  ///< of the socket file, to know it again
    ino_t m_inode = 0;
};

#endif
