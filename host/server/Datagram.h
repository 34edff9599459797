#ifndef DATAGRAM_H
#define DATAGRAM_H

#include <string>
#include <utility>

/**
 * Sends datagrams to a socket: a path, or after an "@" a name in the abstract name space. Use it
 * from one thread at a time.
 *
 * A receiver that does not read delays the sender once, for a moment. After that no message waits
 * until the receiver accepts one again.
 */
class Datagram {
public:
    explicit Datagram(std::string name) : m_name(std::move(name)) {}

    const std::string& name() const { return m_name; }

    /// False if @p text was not sent; errno says why.
    [[nodiscard]] bool send(const std::string& text);

private:
    const std::string m_name;
    bool m_isWaitedFor = true;
};

#endif
