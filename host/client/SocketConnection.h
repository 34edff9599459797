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
    /// Closes the socket. Work that the host has begun continues there.
    ~SocketConnection() override;
    SocketConnection(const SocketConnection&) = delete;
    SocketConnection& operator=(const SocketConnection&) = delete;

    /// Connects to the host at @p path. False, with the reason in @p error, if that is not
    /// possible. Call it once.
    [[nodiscard]] bool open(const std::string& path, std::string& error);

    /// Returns NoAnswer also for an invalid answer, because the program at the socket may not be a
    /// host.
    Result exchange(Method request, Method& answer) override;
    /// Sends a second call, whose answer shows that the first one is done.
    bool callOneWay(Method request) override;

    /// Sends @p line with a line feed after it. False when the host is gone.
    [[nodiscard]] bool sendLine(const std::string& line);

    /// Waits for the next line. False when the host is gone.
    [[nodiscard]] bool readLine(std::string& line);

    /// Writes the call @p request as a line.
    static std::string toCall(const Method& request);

private:
    /// Below 0 until open() has succeeded; each call fails then.
    int m_descriptor = -1;
    LineCutter m_lines;
};

#endif
