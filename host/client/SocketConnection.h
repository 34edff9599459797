#ifndef SOCKETCONNECTION_H
#define SOCKETCONNECTION_H

#include <string>

#include "client/Connection.h"
#include "wire/LineCutter.h"

/// A conversation with a running host over its socket, in JSON-RPC. It waits as long as the host is
/// connected: an upgrade or an import may take minutes, and a host that ends closes the socket.
class SocketConnection : public Connection {
public:
    SocketConnection();
    /// Closes the socket: what the host has begun goes on there.
    ~SocketConnection() override;
    SocketConnection(const SocketConnection&) = delete;
    SocketConnection& operator=(const SocketConnection&) = delete;

    /// Connects to the host at @p path. False when that is not possible, with the reason in
    /// @p error. To be called once.
    [[nodiscard]] bool open(const std::string& path, std::string& error);

    /// NoAnswer also for what is no answer: the program at the socket may be no host.
    Result exchange(Method request, Method& answer) override;
    /// Sends a further call, whose answer says that the first one is done.
    bool callOneWay(Method request) override;

    /// Sends @p line with a line feed after it. False when the host is gone.
    [[nodiscard]] bool sendLine(const std::string& line);

    /// Waits for the next line. False when the host is gone.
    [[nodiscard]] bool readLine(std::string& line);

    /// The line of the call @p request.
    static std::string toCall(const Method& request);

private:
    /// Below 0 until open() has succeeded; each call fails then.
    int m_descriptor = -1;
    LineCutter m_lines;
};

#endif
