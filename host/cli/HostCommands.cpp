// All calls are sent before any answer is read. So after the first call, no message of the host is
// missed.

#include "cli/HostCommands.h"

#include <cstdlib>
#include <iostream>

#include "client/HostOptions.h"
#include "client/SocketConnection.h"
#include "framework/AccessRules.h"
#include "framework/FailureWords.h"
#include "terminal/Complaint.h"
#include "terminal/Output.h"
#include "wire/JsonRpc.h"

int HostCommands::open(const std::string& command, const HostOptions& options,
                       SocketConnection& connection) {
    if (!options.socket) {
        const bool isFolderNamed = std::getenv("DB_PATH") != nullptr;
        Complaint::report(
            command + (isFolderNamed
                           ? ": --db or DB_PATH names a folder, and the command needs a host"
                           : ": no host is named"),
            std::string("name its socket by --socket") + (isFolderNamed ? "" : " or DAS_SOCKET"));
        return ExitUsage;
    }
    std::string error;
    if (!connection.open(*options.socket, error)) {
        Complaint::report(error);
        return ExitUsage;
    }
    return ExitSuccess;
}

int HostCommands::reportSilence() {
    Complaint::report("the host has not answered", "it has ended, or it is no host of das");
    return ExitFailure;
}

namespace {

/// Whether the host's access rules refuse @p call, whose answer is @p answer. If so, it is
/// reported, unless the command works without this call.
bool isRefused(const HostCommands::ListenCall& call, const Method& answer) {
    bool isDone = true;
    (void)answer.getBoolParameter("Acknowledge", isDone);
    if (!isDone && !call.isWish) {
        const Methods::Access& needed = Methods::find(call.method.getName())->access;
        const std::string rights = AccessRules::wordsFor(needed.everywhere | needed.ofSchema);
        std::string schemas;
        (void)call.method.getStringParameter("Schemas", schemas);
        Complaint::report(
            call.method.getName() + ": " +
            FailureWords::ofRefusal(rights + " for " + (schemas.empty() ? "*" : schemas)).text());
    }
    return !isDone;
}

}  // namespace

int HostCommands::listen(SocketConnection& connection, const std::vector<ListenCall>& calls,
                         const char* word, Output& output, const LineOf& lineOf) {
    for (const ListenCall& call : calls) {
        // If the host has ended, this is noticed when no answer comes.
        (void)connection.sendLine(SocketConnection::toCall(call.method));
    }
    std::size_t answers = 0;
    std::size_t refused = 0;
    std::string line;
    while (connection.readLine(line)) {
        const JsonRpc::Message message = JsonRpc::read(line);
        // Answers and messages for listeners arrive in any order, because the host sends each as
        // soon as it can.
        if (message.id) {
            refused += answers < calls.size() && isRefused(calls[answers], message.method) ? 1 : 0;
            ++answers;
            if (refused == calls.size()) {
                return ExitFailure;
            }
            if (answers == calls.size()) {
                std::cerr << word << std::endl;
            }
            continue;
        }
        const auto text = message.isRequest() ? lineOf(message.method) : std::nullopt;
        if (text && !output.writeLine(*text)) {
            return Complaint::outputFailed();
        }
    }
    return answers < calls.size() ? reportSilence() : ExitSuccess;
}
