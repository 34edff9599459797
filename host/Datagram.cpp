#include "Datagram.h"

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <cerrno>
#include <cstddef>

bool sendDatagram(const std::string& name, const std::string& text) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    if (name.empty() || (name[0] != '/' && name[0] != '@') ||
        name.size() >= sizeof address.sun_path) {
        errno = EINVAL;
        return false;
    }
    name.copy(address.sun_path, name.size());
    if (name[0] == '@') {
        address.sun_path[0] = '\0';
    }
    const int descriptor = socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    if (descriptor < 0) {
        return false;
    }
    // The length counts: what stands behind the name would be part of an abstract one.
    const auto size = static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + name.size());
    const ssize_t sent = sendto(descriptor, text.data(), text.size(), MSG_NOSIGNAL,
                                reinterpret_cast<const sockaddr*>(&address), size);
    const int error = errno;
    close(descriptor);
    errno = error;
    return sent == static_cast<ssize_t>(text.size());
}
