#include "client/LocalConnection.h"

#include <utility>

#include "framework/ServiceHost.h"

LocalConnection::LocalConnection(ServiceHost& host)
    : m_host(host), m_inbox(std::make_shared<Inbox>(host.clients())) {}

bool LocalConnection::sendLine(const std::string& line) {
    m_host.dispatcher().handle(line, m_inbox);
    return true;
}

bool LocalConnection::readLine(std::string& line) {
    if (m_inbox->lines.empty()) {
        return false;
    }
    line = std::move(m_inbox->lines.front());
    m_inbox->lines.pop_front();
    return true;
}
