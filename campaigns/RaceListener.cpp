#include "RaceListener.h"

#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <functional>
#include <stdexcept>

#include "Calls.h"
#include "RaceHost.h"
#include "testkit/Messages.h"
#include "wire/JsonRpc.h"

namespace {

constexpr int LongestPause = 100;     // in milliseconds
constexpr int PausesOfASlowOne = 20;  // while others write
constexpr int LongestAnswer = 60000;  // until a client gives up

std::string lineOf(const Method& method) {
    return JsonRpc::toCall(JsonRpc::notification(method), "1") + "\n";
}

std::string request(const std::string& schema, const std::string& reason, const std::string& body) {
    return lineOf(Calls::request(xml::message(schema, reason, body)));
}

int connectTo(const std::string& path) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    path.copy(address.sun_path, sizeof address.sun_path - 1);
    const int made = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    if (::connect(made, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0) {
        ::close(made);
        throw std::runtime_error("no connection to " + path);
    }
    return made;
}

}  // namespace

RaceListener::RaceListener(const RaceHost& host, const Kind& kind,
                           const std::atomic<bool>& isEnding)
    : m_kind(kind),
      m_read(request("PhoneBook", "read_request",
                     std::string("<Context currentUser=\"") + kind.user + "\"></Context>")),
      m_random(kind.seed),
      m_socket(connectTo(host.socketOf(kind.role))),
      m_isEnding(isEnding) {
    exchange(lineOf(Calls::method("AddChangeListener", {{"Schemas", "PhoneBook"}})));
    m_allowed = 0;  // this was a method of the host's own
    if (kind.isSlow) {
        fallBehind();
    }
    m_thread = std::thread([this] { follow(); });
}

RaceListener::~RaceListener() {
    end();
    ::close(m_socket);
}

void RaceListener::end() {
    if (m_thread.joinable()) {
        m_thread.join();
    }
}

void RaceListener::follow() {
    try {
        if (m_kind.isSlow) {
            for (int pause = 0; pause < PausesOfASlowOne && !m_isEnding; ++pause) {
                ::usleep(LongestPause * 1000);
            }
            (void)receiveAnswer();
        }
        while (!m_isEnding) {
            if (m_isOutdated) {
                lookAtContacts();
                tryForbidden();
            }
            ::usleep(static_cast<unsigned>(m_random() % LongestPause * 1000));
            while (hasLine()) {
                take(receive());
            }
        }
        // A change is queued before an answer that could show it, so this answer comes after all
        // changes.
        exchange(lineOf(Calls::request("getCurrentUser")));
        if (m_isOutdated) {
            lookAtContacts();
        }
    } catch (const std::exception& error) {
        m_wrong = error.what();
    }
}

void RaceListener::lookAtContacts() {
    m_isOutdated = false;  // a change that arrives before the answer may not be included in it
    m_picture = exchange(m_read);
}

/// Sends a request for the large rows, and does not read the answer.
void RaceListener::fallBehind() {
    send(request("Certificates", "read_request", "<ResultCols>Issuer</ResultCols>"));
    pollfd readable{m_socket, POLLIN, 0};
    (void)::poll(&readable, 1, LongestAnswer);
}

void RaceListener::tryForbidden() {
    if (RaceCalls::roles()[m_kind.role].may("write", "PhoneBook")) {
        return;
    }
    const std::string answer =
        exchange(request("PhoneBook", "write_request", "<Entry><Surname>no</Surname></Entry>"));
    --m_allowed;
    ++m_refusals;
    if (answer.find("not allowed") == std::string::npos) {
        m_wrong = "a write that is not allowed is answered " + answer;
    }
}

void RaceListener::send(const std::string& line) {
    ++m_allowed;
    for (std::size_t sent = 0; sent < line.size();) {
        const ssize_t count =
            ::send(m_socket, line.data() + sent, line.size() - sent, MSG_NOSIGNAL);
        if (count <= 0) {
            throw std::runtime_error("the host has closed the connection of a listener");
        }
        sent += static_cast<std::size_t>(count);
    }
}

std::string RaceListener::receive() {
    std::size_t looked = 0;
    std::size_t end = std::string::npos;
    while ((end = m_received.find('\n', looked)) == std::string::npos) {
        looked = m_received.size();
        m_received.resize(looked + 65536);
        pollfd readable{m_socket, POLLIN, 0};
        const ssize_t count = ::poll(&readable, 1, LongestAnswer) == 1
                                  ? ::read(m_socket, &m_received[looked], 65536)
                                  : -1;
        if (count <= 0) {
            throw std::runtime_error("a listener gets no answer");
        }
        m_received.resize(looked + static_cast<std::size_t>(count));
    }
    std::string line = m_received.substr(0, end);
    m_received.erase(0, end + 1);
    return line;
}

std::string RaceListener::receiveAnswer() {
    std::string line = receive();
    while (line.find("\"id\":1") == std::string::npos) {
        take(line);
        line = receive();
    }
    return line;
}

std::string RaceListener::exchange(const std::string& line) {
    send(line);
    return receiveAnswer();
}

bool RaceListener::hasLine() {
    pollfd readable{m_socket, POLLIN, 0};
    return m_received.find('\n') != std::string::npos || ::poll(&readable, 1, 0) == 1;
}

/// After any change of contacts, they must be read again.
void RaceListener::take(const std::string& line) {
    const Method message = JsonRpc::read(line).method;
    std::string schema;
    if (message.getName() != "Changed" || !message.getStringParameter("Schema", schema) ||
        !(schema.empty() || schema == "PhoneBook")) {
        m_wrong = "a listener to contacts is sent " + line.substr(0, 200);
    }
    m_isOutdated = true;
    m_order = m_order * 31 + std::hash<std::string>()(line);
    ++m_changes;
}
