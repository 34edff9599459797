#ifndef LOCALCONNECTION_H
#define LOCALCONNECTION_H

#include <memory>

#include "client/Connection.h"

class Client;
class ServiceHost;

/// A conversation with the service of this process. Calls and answers are handed over as they are.
class LocalConnection : public Connection {
public:
    /// @p host has been started and outlives the connection.
    explicit LocalConnection(ServiceHost& host);

    Result exchange(Method request, Method& answer) override;
    bool callOneWay(Method request) override;

private:
    ServiceHost& m_host;
    std::shared_ptr<Client> m_client;
};

#endif
