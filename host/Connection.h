#ifndef CONNECTION_H
#define CONNECTION_H

#include <deque>
#include <memory>
#include <string>

#include "Client.h"
#include "LineCutter.h"

class Method;
class ServiceHost;

/// A conversation with a host, seen from the client: lines out, lines in.
class Connection {
public:
    virtual ~Connection() = default;

    /// Sends @p line with a line feed behind it. False when the host is gone.
    [[nodiscard]] virtual bool sendLine(const std::string& line) = 0;

    /// Waits for the next line. False when the host is gone.
    [[nodiscard]] virtual bool readLine(std::string& line) = 0;

    /// Calls @p request and waits for the answer's out parameters; what a listener hears meanwhile
    /// is dropped. False when the host is gone, or says that this was no request.
    [[nodiscard]] bool call(const Method& request, Method& answer);

    /// The same with the line of a call, as toCall() gives it.
    [[nodiscard]] bool call(const std::string& line, Method& answer);
    static std::string toCall(const Method& request);

    /// The call that has the service answer @p message.
    static Method requestOf(const std::string& message);

    /// Calls the one-way method @p request, and waits until it is done. False as above.
    [[nodiscard]] bool callOneWay(const Method& request);
};

/// A conversation with the service of this process.
class LocalConnection : public Connection {
public:
    /// @p host has been started and outlives the connection.
    explicit LocalConnection(ServiceHost& host);

    bool sendLine(const std::string& line) override;
    bool readLine(std::string& line) override;

private:
    /// Keeps the lines until they are read.
    struct Inbox : Client {
        using Client::Client;
        void sendLine(const std::string& line) override { lines.push_back(line); }
        std::deque<std::string> lines;
    };

    ServiceHost& m_host;
    std::shared_ptr<Inbox> m_inbox;
};

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
