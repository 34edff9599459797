// Sockets that the service manager has opened. They exist before the service runs, so clients that
// connect early wait instead of failing. The variables are removed afterwards, because they are
// meant for this process only, and not for programs that it may start.

#include "server/HandedSockets.h"

#include <fcntl.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <algorithm>
#include <charconv>
#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <sstream>

namespace {

constexpr int FirstDescriptor = 3;
constexpr long MostDescriptors = 1024;

/// 0 if it is not a number.
long numberOf(const char* variable) {
    const char* const text = std::getenv(variable);
    long number = 0;
    if (text == nullptr) {
        return 0;
    }
    const char* const end = text + std::strlen(text);
    const auto read = std::from_chars(text, end, number);
    return read.ec == std::errc() && read.ptr == end ? number : 0;
}

int optionOf(int descriptor, int option) {
    int value = 0;
    socklen_t size = sizeof value;
    return getsockopt(descriptor, SOL_SOCKET, option, &value, &size) == 0 ? value : -1;
}

/// The path of a listening socket; empty for anything else.
std::string pathOf(int descriptor) {
    sockaddr_un address{};
    socklen_t size = sizeof address;
    if (optionOf(descriptor, SO_DOMAIN) != AF_UNIX ||
        optionOf(descriptor, SO_TYPE) != SOCK_STREAM || optionOf(descriptor, SO_ACCEPTCONN) != 1 ||
        getsockname(descriptor, reinterpret_cast<sockaddr*>(&address), &size) != 0) {
        return {};
    }
    const auto length = static_cast<std::size_t>(size) - offsetof(sockaddr_un, sun_path);
    return {address.sun_path, strnlen(address.sun_path, length)};
}

}  // namespace

HandedSockets::HandedSockets() {
    const char* const names = std::getenv("LISTEN_FDNAMES");
    std::istringstream rest(names == nullptr ? "" : names);
    if (numberOf("LISTEN_PID") == getpid()) {
        const long count = std::clamp(numberOf("LISTEN_FDS"), 0L, MostDescriptors);
        for (int descriptor = FirstDescriptor; descriptor < FirstDescriptor + count; ++descriptor) {
            std::string name;
            std::getline(rest, name, ':');
            (void)fcntl(descriptor, F_SETFD, FD_CLOEXEC);
            m_sockets.push_back({descriptor, name, pathOf(descriptor)});
        }
    }
    for (const char* const variable : {"LISTEN_PID", "LISTEN_FDS", "LISTEN_FDNAMES"}) {
        unsetenv(variable);
    }
}

int HandedSockets::take(std::optional<std::string>& path, std::string& error) const {
    const auto fits = [&](const Handed& each) {
        return !each.path.empty() && (!path || each.path == *path);
    };
    const auto found = std::find_if(m_sockets.begin(), m_sockets.end(), fits);
    const std::string handed = " that the service manager hands over";
    if (found == m_sockets.end()) {
        error = (path ? *path + ": not" : std::string("there is no listening socket")) +
                " among the sockets" + handed + ": " + list();
        return -1;
    }
    if (!path && m_sockets.size() > 1) {
        error = "which of the sockets" + handed + "? --socket names one of " + list();
        return -1;
    }
    path = found->path;
    return found->descriptor;
}

std::string HandedSockets::list() const {
    std::string text;
    for (const Handed& each : m_sockets) {
        text += (text.empty() ? "" : ", ") +
                (each.path.empty() ? "no listening socket" : each.path) +
                (each.name.empty() ? "" : " (" + each.name + ")");
    }
    return text;
}
