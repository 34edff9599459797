#ifndef SOCKETCONNECTION_H
#define SOCKETCONNECTION_H

#include <string>

#include "client/Connection.h"
#include "wire/LineCutter.h"

/// A conversation with a running host over its socket.
class SocketConnection : public Connection {
public:
    SocketConnection();
    ~SocketConnection() override;
    SocketConnection(const SocketConnection&) = delete;
    SocketConnection& operator=(const SocketConnection&) = delete;

    /// Connects to the host at @p path. False when that is not possible, with the reason in
    /// @p error. To be called once.
    [[nodiscard]] bool open(const std::string& path, std::string& error);

    bool sendLine(const std::string& line) override;
    bool readLine(std::string& line) override;

private:
    int m_descriptor = -1;
    LineCutter m_lines;
};

#endif
