#ifndef DATAGRAM_H
#define DATAGRAM_H

#include <string>
#include <utility>

/**
 * Sends datagrams to a socket of the system: a path, or a name of the abstract name space after an
 * "@". Not for several threads at once.
 *
 * A receiver that does not read holds up the sender for a moment, once: from then on nothing is
 * waited for, until it takes something again.
 */
class Datagram {
public:
    explicit Datagram(std::string name) : m_name(std::move(name)) {}

    const std::string& name() const { return m_name; }

    /// False when @p text did not arrive; errno says why.
    [[nodiscard]] bool send(const std::string& text);

private:
    const std::string m_name;
    bool m_isWaitedFor = true;
};

#endif
