// A one-way call is done when it returns, as nothing is sent.

#include "client/LocalConnection.h"

#include <utility>

#include "framework/Client.h"
#include "framework/ServiceHost.h"

namespace {

/// The process itself as a client. Messages for listeners are dropped.
class Self : public Client {
public:
    using Client::Client;
    void sendLine(std::string /*line*/) override {}
};

}  // namespace

LocalConnection::LocalConnection(ServiceHost& host)
    : m_host(host), m_client(std::make_shared<Self>(host.clients())) {}

Connection::Result LocalConnection::exchange(Method request, Method& answer) {
    auto given = m_host.dispatcher().call(std::move(request), m_client);
    if (!given) {
        return Result::NoAnswer;
    }
    answer = std::move(*given);
    return Result::Answered;
}

bool LocalConnection::callOneWay(Method request) {
    (void)m_host.dispatcher().call(std::move(request), m_client);  // a one-way method has no answer
    return true;
}
