// Only one call is under way at a time, so all calls have the same id. A message without this id is
// not the answer.

#include "client/SocketConnection.h"

#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <limits>
#include <string_view>
#include <system_error>
#include <utility>

#include "wire/JsonRpc.h"
#include "wire/SocketAddress.h"

namespace {

const char* const CallId = "1";

/// Explains why a socket can't be used, and what to do.
std::string adviceFor(const std::string& path, int error) {
    struct stat status {};
    const bool isSocket = stat(path.c_str(), &status) == 0 && S_ISSOCK(status.st_mode);
    switch (error) {
        case ENOENT:
        case ENOTDIR:
            return "the socket is missing: start a host by das serve --socket " + path;
        case EACCES:
            return "the socket is forbidden: it is for its owner and group";
        case ECONNREFUSED:
            return isSocket ? "the socket is stale, its host has ended: start one by das serve "
                              "--socket " +
                                  path
                            : "refused: this is no socket";
        default:
            return "refused: this is no socket of a host";
    }
}

}  // namespace

// A host may answer with more bytes than it accepts.
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
        const int reason = errno;
        error =
            path + ": " + std::generic_category().message(reason) + "; " + adviceFor(path, reason);
        return false;
    }
    return true;
}

std::string SocketConnection::toCall(const Method& request) {
    return JsonRpc::toCall(JsonRpc::notification(request), CallId);
}

Connection::Result SocketConnection::exchange(Method request, Method& answer) {
    const std::string call = toCall(request);
    if (call.size() > LineCutter::MessageLimit) {
        return Result::NotSent;
    }
    // A message for a listener may arrive first.
    std::string line;
    bool isOpen = sendLine(call) && readLine(line);
    while (isOpen) {
        JsonRpc::Message message = JsonRpc::read(line);
        if (message.hasError || !message.isJson) {
            return Result::NoAnswer;
        }
        if (message.id == CallId) {
            answer = std::move(message.method);
            return Result::Answered;
        }
        isOpen = readLine(line);
    }
    return Result::NoAnswer;
}

bool SocketConnection::callOneWay(Method request) {
    // Messages are handled in order: when the second one is answered, the first one is done. This
    // method is used because it keeps the host's record of the first one's failures.
    Method ignored;
    return sendLine(JsonRpc::notification(request)) && call(Method("LastFailures"), ignored);
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
        const auto space = m_lines.room();
        const ssize_t count = recv(m_descriptor, space.begin, space.size, 0);
        if (count == 0 || (count < 0 && errno != EINTR)) {
            return false;
        }
        m_lines.filled(count > 0 ? static_cast<std::size_t>(count) : 0);
    }
    line = found;
    return true;
}
