#ifndef HOSTPROCESS_H
#define HOSTPROCESS_H

#include <sys/types.h>

#include <memory>
#include <string>
#include <vector>

#include "Program.h"
#include "client/SocketConnection.h"

namespace Bench {

/// A program that serves a socket, in the place that the environment names. It ends with the
/// object.
class HostProcess {
public:
    /// @p arguments begin with the program, which stands next to this one, and end before the
    /// socket.
    HostProcess(std::vector<std::string> arguments, const std::string& socket);
    ~HostProcess();
    HostProcess(const HostProcess&) = delete;
    HostProcess& operator=(const HostProcess&) = delete;

    std::unique_ptr<SocketConnection> connect() const;

    /// Microseconds that all its threads have run so far.
    double processorTime() const;

    /// A number of /proc: "VmRSS:" for the memory now, "VmHWM:" for its largest so far.
    long kilobytes(const char* name) const;

private:
    const std::string m_socket;
    pid_t m_process = 0;
};

/// The service's answer to @p message.
std::string ask(SocketConnection& connection, const std::string& message);

/// Sends a whole line and waits for the next one.
void exchangeLines(SocketConnection& connection, const std::string& line, std::string& answer);

/// The line that asks the service for an answer to @p message.
std::string lineOf(const std::string& message);

}  // namespace Bench

#endif
