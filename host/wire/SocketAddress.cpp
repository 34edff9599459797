// The length is checked, because a path that is too long must not be cut: it would name another
// socket.

#include "wire/SocketAddress.h"

bool SocketAddress::set(const std::string& path, std::string& error) {
    const std::size_t longest = sizeof m_address.sun_path - 1;
    if (path.empty() || path.size() > longest) {
        error = path.empty() ? "the path of the socket is empty"
                             : path + ": the path of a socket has at most " +
                                   std::to_string(longest) + " bytes";
        return false;
    }
    m_address.sun_family = AF_UNIX;
    path.copy(m_address.sun_path, longest);
    return true;
}

int makeSocket() {
    return socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
}
