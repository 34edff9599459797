#ifndef HANDEDSOCKETS_H
#define HANDEDSOCKETS_H

#include <optional>
#include <string>
#include <vector>

/**
 * The sockets that a service manager has opened before it started this process, told by
 * "LISTEN_PID", "LISTEN_FDS" and "LISTEN_FDNAMES" of the environment. Clients could connect to them
 * all along, and wait until they are taken in.
 */
class HandedSockets {
public:
    /// Reads the environment, and takes these variables out of it: they are meant for this process
    /// alone, and so are the descriptors.
    HandedSockets();

    bool empty() const { return m_sockets.empty(); }

    /**
     * The socket at @p path, or without a path the only one.
     *
     * @param path  gets the path of the socket when it was not given
     * @param error takes one line when the result is -1
     * @return a descriptor that listens, which belongs to the caller; -1 without such a socket
     */
    [[nodiscard]] int take(std::optional<std::string>& path, std::string& error) const;

private:
    struct Handed {
        int descriptor;
        std::string name;  ///< as the manager calls it
        std::string path;  ///< empty when it is no listening Unix domain socket for streams
    };

    /// Path and name of each, for messages: a person has to see which sockets there are to choose
    /// from.
    std::string list() const;

    /// All of them, also those that are of no use here: a message that leaves them out would
    /// mislead.
    std::vector<Handed> m_sockets;
};

#endif
