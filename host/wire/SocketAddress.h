#ifndef SOCKETADDRESS_H
#define SOCKETADDRESS_H

#include <sys/socket.h>
#include <sys/un.h>

#include <string>

/// The address of a socket file.
/// Until set() has returned true it names no file. It keeps a copy of the path.
class SocketAddress {
public:
    /// False when @p path is empty or longer than the system takes, with the reason in @p error.
    [[nodiscard]] bool set(const std::string& path, std::string& error);

    /// As bind() and connect() take them; valid as long as the object.
    const sockaddr* get() const { return reinterpret_cast<const sockaddr*>(&m_address); }
    static constexpr socklen_t size() { return sizeof(sockaddr_un); }

private:
    sockaddr_un m_address{};
};

/// A new socket of that kind, closed when another program is run; -1 with errno for none.
int makeSocket();

#endif
