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
 * other client: the answers wait in its own queue, and it is disconnected if too much waits for it,
 * or for all clients. A message above LineCutter::MessageLimit is answered like one that can't be
 * decoded, and its client is disconnected. The same happens to any but a short message while the
 * unfinished messages of all clients use too much memory. ServerLoad has these limits. At most
 * 2,000 clients are connected at once, fewer if the process may not have enough descriptors: 64 are
 * reserved for the service. Other clients wait until one disconnects.
 */
class SocketServer {
public:
    /// How many threads share the clients. More than processors, because most threads wait for the
    /// service.
    static unsigned threads() { return std::clamp(std::thread::hardware_concurrency(), 4U, 16U); }

    /// @p listener is a listening socket, which the server closes. The other arguments must outlive
    /// it.
    SocketServer(int listener, Dispatcher& dispatcher, Clients& clients);

    /// Accepts no more clients and messages, waits until the current messages are finished, and
    /// allows a short time to send their answers.
    ~SocketServer();
    SocketServer(const SocketServer&) = delete;
    SocketServer& operator=(const SocketServer&) = delete;

private:
    /// Hides the library for sockets, which takes long to compile, from code that only starts and
    /// stops a server.
    class Implementation;
    std::unique_ptr<Implementation> m_implementation;
};

#endif
