// The service manager may be slow or may have ended. The first message that finds a full queue
// waits two seconds. After that no message waits until one has succeeded, so that a manager that
// does not read can't stop the service.

#include "server/Datagram.h"

#include <sys/socket.h>
#include <sys/time.h>
#include <sys/un.h>
#include <unistd.h>

#include <cerrno>
#include <cstddef>

namespace {

constexpr timeval Patience{2, 0};

/// False if a socket cannot have @p name.
bool setAddress(const std::string& name, sockaddr_un& address) {
    if (name.empty() || (name[0] != '/' && name[0] != '@') ||
        name.size() > sizeof address.sun_path) {
        errno = EINVAL;
        return false;
    }
    address.sun_family = AF_UNIX;
    name.copy(address.sun_path, name.size());
    if (name[0] == '@') {
        address.sun_path[0] = '\0';
    }
    return true;
}

}  // namespace

bool Datagram::send(const std::string& text) {
    sockaddr_un address{};
    if (!setAddress(m_name, address)) {
        return false;
    }
    const int descriptor = socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    if (descriptor < 0) {
        return false;
    }
    (void)setsockopt(descriptor, SOL_SOCKET, SO_SNDTIMEO, &Patience, sizeof Patience);
    // The length matters: with a longer one, an abstract name would have extra zero bytes.
    const auto size = static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + m_name.size());
    const ssize_t sent = sendto(descriptor, text.data(), text.size(),
                                MSG_NOSIGNAL | (m_isWaitedFor ? 0 : MSG_DONTWAIT),
                                reinterpret_cast<const sockaddr*>(&address), size);
    const int error = errno;
    close(descriptor);
    errno = error;
    m_isWaitedFor = sent >= 0 || error != EAGAIN;
    return sent == static_cast<ssize_t>(text.size());
}
