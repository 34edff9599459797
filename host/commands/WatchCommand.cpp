// "das watch": what changes in a running host.

#include <utility>

#include "ClientUtils.h"
#include "cli/Command.h"
#include "cli/HostCommands.h"
#include "cli/RowArguments.h"
#include "client/SocketConnection.h"
#include "terminal/TerminalText.h"

namespace {

/// The parts of a change that are printed, in this order.
const char* const ChangeParameters[] = {"Schema", "Context", "Reason", "Id"};

/// The change in one line, with tabs between its parts.
std::string lineOfChange(const Method& heard) {
    std::string line = heard.getName();
    for (const char* const name : ChangeParameters) {
        std::string text;
        (void)heard.getStringParameter(name, text);
        line += '\t' + TerminalText::visible(text);
    }
    return line;
}

std::string lineOf(const Method& heard) {
    std::string item;
    std::string value;
    if (heard.getName() == "Changed") {
        return lineOfChange(heard);
    }
    return heard.getName() == "Status" && heard.getStringParameter("item", item) &&
                   heard.getStringParameter("value", value)
               ? item + "=" + value
               : heard.getName();
}

/// Adds the call for changes of data to @p calls. False if the arguments can't be used.
///
/// For named schemas a client needs only the right to listen to these. For the user and the status
/// items it needs the right to listen to all. A client with only the first right gets the changes
/// of the schemas, which is what was asked for.
bool addChanges(const Arguments& arguments, std::vector<HostCommands::ListenCall>& calls) {
    const std::vector<std::string>& schemas = arguments.all("SCHEMA");
    if (!arguments.has("--changes")) {
        if (!schemas.empty()) {
            Complaint::report("watch: SCHEMA needs --changes",
                              "das watch --changes " + schemas.front());
        }
        return schemas.empty();
    }
    for (const std::string& schema : schemas) {
        if (RowArguments::findSchema(schema) == nullptr) {
            return false;
        }
    }
    for (HostCommands::ListenCall& call : calls) {
        call.isWish = !schemas.empty();
    }
    Method changes("AddChangeListener");
    changes.addStringParameter("Schemas", ClientUtils::join(schemas, ","), Parameter::in);
    calls.push_back({std::move(changes)});
    return true;
}

}  // namespace

int runWatch(const HostOptions& options, const Arguments& arguments) {
    std::vector<HostCommands::ListenCall> calls = {{Method("AddListener")},
                                                   {Method("AddStatusListener")}};
    if (!addChanges(arguments, calls)) {
        return ExitUsage;
    }
    Output output;
    SocketConnection connection;
    const int status = HostCommands::open("watch", options, connection);
    return status != ExitSuccess
               ? status
               : HostCommands::listen(connection, calls, "watching", output, lineOf);
}
