#ifndef SOCKETSERVER_H
#define SOCKETSERVER_H

#include <algorithm>
#include <memory>
#include <thread>

class Clients;
class Dispatcher;

/**
 * Serves the clients of a socket, many at once.
 *
 * A few threads share all clients. The messages of one client are handled in order, one at a time;
 * of large messages of all clients one at a time. A client that does not read its answers delays no
 * other: they wait in a queue of its own, and a client is closed when too much waits for it, or for
 * all. A message above LineCutter::MessageLimit is answered as one that can't be decoded, and its
 * client is closed; so is one that is not short while what all clients have begun to send takes too
 * much. ServerLoad has these limits. At most 2,000 clients are in at once, fewer where the process
 * may not have the descriptors: 64 are left to the service. Others wait for one to leave.
 */
class SocketServer {
public:
    /// How many threads share the clients. More than processors: most wait for the service.
    static unsigned threads() { return std::clamp(std::thread::hardware_concurrency(), 4U, 16U); }

    /// @p listener is a listening socket, which the server closes. The rest must outlive it.
    SocketServer(int listener, Dispatcher& dispatcher, Clients& clients);

    /// Takes no more clients and messages, waits until the messages in work are finished, and gives
    /// their answers a short time to be sent.
    ~SocketServer();
    SocketServer(const SocketServer&) = delete;
    SocketServer& operator=(const SocketServer&) = delete;

private:
    /// Hides the library for sockets, which takes long to compile, from those who only start and
    /// end a server.
    class Implementation;
    std::unique_ptr<Implementation> m_implementation;
};

#endif
