#ifndef HOSTPROCESS_H
#define HOSTPROCESS_H

#include <sys/types.h>

#include <memory>
#include <string>
#include <vector>

#include "Program.h"
#include "client/SocketConnection.h"

namespace Bench {

/// A program that serves a socket, with the paths that the environment names. It is stopped with
/// the object.
class HostProcess {
public:
    /// @p arguments begin with the program, which is in the same folder as this one; the socket's
    /// path is appended.
    HostProcess(std::vector<std::string> arguments, const std::string& socket);
    ~HostProcess();
    HostProcess(const HostProcess&) = delete;
    HostProcess& operator=(const HostProcess&) = delete;

    std::unique_ptr<SocketConnection> connect() const;

    /// Microseconds of processor time of all its threads so far.
    double processorTime() const;

    /// A number of /proc: "VmRSS:" for the current memory, "VmHWM:" for its maximum.
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
