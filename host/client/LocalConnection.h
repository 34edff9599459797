#ifndef LOCALCONNECTION_H
#define LOCALCONNECTION_H

#include <memory>

#include "client/Connection.h"

class Client;
class ServiceHost;

/// A conversation with the service in this process. Calls and answers are passed on as objects,
/// through the same dispatcher that serves clients of a socket. So a command sees the same methods,
/// the same failures and the same order in both cases.
class LocalConnection : public Connection {
public:
    /// @p host has been started and outlives the connection.
    explicit LocalConnection(ServiceHost& host);

    /// Runs the call on this thread, to its end. NoAnswer for a one-way or unknown method.
    Result exchange(Method request, Method& answer) override;
    /// Always true: the call is done when this returns.
    bool callOneWay(Method request) override;

private:
    ServiceHost& m_host;
    std::shared_ptr<Client> m_client;
};

#endif
