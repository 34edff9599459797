#ifndef HANDEDSOCKETS_H
#define HANDEDSOCKETS_H

#include <optional>
#include <string>
#include <vector>

/**
 * The sockets that a service manager has opened before it started this process, as described by
 * "LISTEN_PID", "LISTEN_FDS" and "LISTEN_FDNAMES" in the environment. Clients could already connect
 * to them, and wait until their connection is accepted.
 */
class HandedSockets {
public:
    /// Reads these environment variables and removes them: they, and the descriptors, are meant for
    /// this process only.
    HandedSockets();

    bool empty() const { return m_sockets.empty(); }

    /**
     * Finds the socket at @p path or, without a path, the only one.
     *
     * @param path  gets the path of the socket when it was not given
     * @param error takes one line when the result is -1
     * @return a descriptor that listens, which belongs to the caller; -1 without such a socket
     */
    [[nodiscard]] int take(std::optional<std::string>& path, std::string& error) const;

private:
    struct Handed {
        int descriptor;
        std::string name;  ///< as the manager names it
        std::string path;  ///< empty if it is not a listening Unix domain stream socket
    };

    /// Path and name of each socket, for messages: a person must see which sockets can be chosen.
    std::string list() const;

    /// All sockets, even unusable ones: a message without these would mislead.
    std::vector<Handed> m_sockets;
};

#endif
