#ifndef HOSTCOMMANDS_H
#define HOSTCOMMANDS_H

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "Method.h"

class Output;
class SocketConnection;
struct HostOptions;

/// What the commands that need a running host have in common. They return exit statuses, after a
/// message on standard error if there is an error.
///
/// They have no session: a session makes one call after the other, but these commands receive
/// messages that are no answers, or must not start a service.
namespace HostCommands {

/// Connects @p connection to the host that @p options name.
[[nodiscard]] int open(const std::string& command, const HostOptions& options,
                       SocketConnection& connection);

/// Reports that a host sent an invalid answer, or ended before its answer.
int reportSilence();

/// Makes the line to print for a method that a listener receives; no value if none is printed.
using LineOf = std::function<std::optional<std::string>(const Method& heard)>;

/// A call that registers a listener.
struct ListenCall {
    Method method;
    bool isWish = false;  ///< if the access rules refuse the call, the command continues without a
                          ///< message
};

/**
 * Registers a listener by @p calls and prints what it receives until the host ends.
 *
 * Once the host has answered all calls, @p word is written to standard error: from then on nothing
 * is missed, and a script may go on.
 */
int listen(SocketConnection& connection, const std::vector<ListenCall>& calls, const char* word,
           Output& output, const LineOf& lineOf);

}  // namespace HostCommands

#endif
