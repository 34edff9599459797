#include "Connection.h"

#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <limits>
#include <system_error>

#include "JsonRpc.h"
#include "Method.h"
#include "ServiceHost.h"
#include "SocketAddress.h"

namespace {

const char* const CallId = "1";

}  // namespace

Method Connection::requestOf(const std::string& message) {
    Method method("processRequest");
    method.addStringParameter("Request", message, Parameter::in);
    method.addIntParameter("RequestLength", static_cast<int>(message.size()), Parameter::in);
    return method;
}

std::string Connection::toCall(const Method& request) {
    return JsonRpc::toCall(JsonRpc::notification(request), CallId);
}

bool Connection::call(const Method& request, Method& answer) {
    return call(toCall(request), answer);
}

bool Connection::call(const std::string& line, Method& answer) {
    if (!sendLine(line)) {
        return false;
    }
    std::string received;
    while (readLine(received)) {
        JsonRpc::Message message = JsonRpc::read(received);
        if (message.hasError) {
            return false;
        }
        if (message.id == CallId) {
            answer = std::move(message.method);
            return true;
        }
    }
    return false;
}

bool Connection::callOneWay(const Method& request) {
    // Messages are handled in order: by the answer to the second one the first is done.
    Method ignored;
    return sendLine(JsonRpc::notification(request)) && call(requestOf("getCurrentUser"), ignored);
}

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

// A host may answer with more than it takes.
SocketConnection::SocketConnection() : m_lines(std::numeric_limits<std::size_t>::max()) {}

SocketConnection::~SocketConnection() {
    if (m_descriptor >= 0) {
        close(m_descriptor);
    }
}

bool SocketConnection::open(const std::string& path, std::string& error) {
    SocketAddress address;
    if (!address.set(path, error)) {
        return false;
    }
    m_descriptor = makeSocket();
    if (m_descriptor < 0 || connect(m_descriptor, address.get(), SocketAddress::size()) != 0) {
        error = path + ": " + std::generic_category().message(errno);
        return false;
    }
    return true;
}

bool SocketConnection::sendLine(const std::string& line) {
    const std::string text = line + "\n";
    for (std::size_t sent = 0; sent < text.size();) {
        const ssize_t count =
            send(m_descriptor, text.data() + sent, text.size() - sent, MSG_NOSIGNAL);
        if (count < 0 && errno != EINTR) {
            return false;
        }
        sent += count > 0 ? static_cast<std::size_t>(count) : 0;
    }
    return true;
}

bool SocketConnection::readLine(std::string& line) {
    std::string_view found;
    while (m_lines.next(found) != LineCutter::Found::Line) {
        const LineCutter::Room room = m_lines.room();
        const ssize_t count = recv(m_descriptor, room.begin, room.size, 0);
        if (count == 0 || (count < 0 && errno != EINTR)) {
            return false;
        }
        m_lines.filled(count > 0 ? static_cast<std::size_t>(count) : 0);
    }
    line = found;
    return true;
}
