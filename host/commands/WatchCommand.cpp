#include <iostream>
#include <memory>
#include <string>
#include <vector>

#include "ClientUtils.h"
#include "Method.h"
#include "cli/Arguments.h"
#include "cli/Command.h"
#include "cli/RowArguments.h"
#include "client/HostOptions.h"
#include "client/SocketConnection.h"
#include "terminal/Complaint.h"
#include "terminal/Output.h"
#include "terminal/TerminalText.h"
#include "wire/JsonRpc.h"

namespace {

/// What a change is printed of, in this order.
const char* const ChangeParameters[] = {"Schema", "Context", "Reason", "Id"};

/// The change in one line, its texts with tabs between them.
std::string lineOfChange(const Method& heard) {
    std::string line = heard.getName();
    for (const char* const name : ChangeParameters) {
        std::string text;
        (void)heard.getStringParameter(name, text);
        line += '\t';
        line += TerminalText::visible(text);
    }
    return line;
}

/// What is printed of a message that a listener hears.
std::string toLine(const Method& heard) {
    std::string item;
    std::string value;
    if (heard.getName() == "Changed") {
        return lineOfChange(heard);
    }
    if (heard.getName() == "Status" && heard.getStringParameter("item", item) &&
        heard.getStringParameter("value", value)) {
        return item + "=" + value;
    }
    return heard.getName();
}

/// "das watch": prints what a listener hears.
class WatchCommand : public Command {
public:
    int run(const HostOptions& options, const Arguments& arguments) override {
        if (!addMethods(arguments)) {
            return ExitUsage;
        }
        if (!options.socket) {
            std::cerr << "das: watch: --socket is required" << std::endl;
            return ExitUsage;
        }
        Output output;
        SocketConnection connection;
        std::string error;
        if (!connection.open(*options.socket, error)) {
            Complaint::tell(error);
            return ExitUsage;
        }
        return watch(connection, output);
    }

private:
    /// The calls that make a listener. False for arguments that are no use, which was said then.
    bool addMethods(const Arguments& arguments) {
        m_calls = {Method("AddListener"), Method("AddStatusListener")};
        const std::vector<std::string>& schemas = arguments.all("SCHEMA");
        if (!arguments.has("--changes")) {
            if (!schemas.empty()) {
                Complaint::tell("watch: SCHEMA needs --changes",
                                "das watch --changes " + schemas.front());
            }
            return schemas.empty();
        }
        for (const std::string& schema : schemas) {
            if (RowArguments::findSchema(schema) == nullptr) {
                return false;
            }
        }
        m_calls.emplace_back("AddChangeListener");
        m_calls.back().addStringParameter("Schemas", ClientUtils::join(schemas, ","),
                                          Parameter::in);
        return true;
    }

    int watch(SocketConnection& connection, Output& output) const {
        std::size_t answers = 0;
        for (const Method& call : m_calls) {
            // A host that has ended is seen when nothing comes back.
            (void)connection.sendLine(SocketConnection::toCall(call));
        }
        std::string line;
        while (connection.readLine(line)) {
            const JsonRpc::Message message = JsonRpc::read(line);
            if (message.id) {
                if (++answers == m_calls.size()) {
                    std::cerr << "watching" << std::endl;
                }
            } else if (message.isRequest() && !output.writeLine(toLine(message.method))) {
                return Complaint::outputFailed();
            }
        }
        if (answers < m_calls.size()) {
            Complaint::tell("the host has not answered", "it has ended, or it is no host of das");
            return ExitFailure;
        }
        return ExitSuccess;
    }

    std::vector<Method> m_calls;
};

}  // namespace

std::unique_ptr<Command> makeWatchCommand() {
    return std::make_unique<WatchCommand>();
}
