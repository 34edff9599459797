#ifndef SOCKETADDRESS_H
#define SOCKETADDRESS_H

#include <sys/socket.h>
#include <sys/un.h>

#include <string>

/// The address of a socket file. Before set() has returned true, it is empty. It has its own copy
/// of the path.
class SocketAddress {
public:
    /// False, with the reason in @p error, if @p path is empty or longer than the system allows.
    [[nodiscard]] bool set(const std::string& path, std::string& error);

    /// The form that bind() and connect() need; valid as long as the object.
    const sockaddr* get() const { return reinterpret_cast<const sockaddr*>(&m_address); }
    static constexpr socklen_t size() { return sizeof(sockaddr_un); }

private:
    sockaddr_un m_address{};
};

/// A new socket for such addresses, which child programs do not inherit; -1 with errno on failure.
int makeSocket();

#endif
