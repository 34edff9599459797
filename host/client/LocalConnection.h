#ifndef LOCALCONNECTION_H
#define LOCALCONNECTION_H

#include <deque>
#include <memory>
#include <string>

#include "client/Connection.h"
#include "framework/Client.h"

class ServiceHost;

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
        void sendLine(std::string line) override { lines.push_back(std::move(line)); }
        std::deque<std::string> lines;
    };

    ServiceHost& m_host;
    std::shared_ptr<Inbox> m_inbox;
};

#endif
