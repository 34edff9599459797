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

/// What the commands have in common that need a running host. They return exit statuses, after a
/// message on standard error if something is wrong.
///
/// They have no session: a session answers one call after the other, and these commands hear
/// messages that no call asked for, or must not start a service of their own.
namespace HostCommands {

/// Connects @p connection to the host that @p options name.
[[nodiscard]] int open(const std::string& command, const HostOptions& options,
                       SocketConnection& connection);

/// Reports a host that can't be understood, or that has gone before its answer.
int reportSilence();

/// The line that is printed for a method that a listener hears; none for no line.
using LineOf = std::function<std::optional<std::string>(const Method& heard)>;

/// A call that makes a listener.
struct ListenCall {
    Method method;
    bool isWish = false;  ///< if the access rules refuse it, the command goes on without a word
};

/**
 * Makes a listener by @p calls and prints what it hears until the host ends.
 *
 * Once the host has answered all calls, @p word is written to standard error: from then on nothing
 * is missed, and a script may go on.
 */
int listen(SocketConnection& connection, const std::vector<ListenCall>& calls, const char* word,
           Output& output, const LineOf& lineOf);

}  // namespace HostCommands

#endif
