#ifndef DATAGRAM_H
#define DATAGRAM_H

#include <string>

/// Sends @p text as one datagram to the socket @p name: a path, or a name of the abstract name
/// space behind an "@". False when it did not arrive; errno tells why.
[[nodiscard]] bool sendDatagram(const std::string& name, const std::string& text);

#endif
