#include <iostream>
#include <memory>
#include <string>

#include "Method.h"
#include "cli/Command.h"
#include "client/HostOptions.h"
#include "client/SocketConnection.h"
#include "terminal/Complaint.h"
#include "terminal/Output.h"
#include "wire/JsonRpc.h"

namespace {

const char* const ListenerMethods[] = {"AddListener", "AddStatusListener"};

/// What is printed of a message that a listener hears.
std::string toLine(const Method& heard) {
    std::string item;
    std::string value;
    if (heard.getName() == "Status" && heard.getStringParameter("item", item) &&
        heard.getStringParameter("value", value)) {
        return item + "=" + value;
    }
    return heard.getName();
}

/// "das watch": prints what a listener hears.
class WatchCommand : public Command {
public:
    int run(const HostOptions& options, const Arguments& /*arguments*/) override {
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
    static int watch(SocketConnection& connection, Output& output) {
        std::size_t answers = 0;
        for (const char* const name : ListenerMethods) {
            // A host that has ended is seen when nothing comes back.
            (void)connection.sendLine(SocketConnection::toCall(Method(name)));
        }
        std::string line;
        while (connection.readLine(line)) {
            const JsonRpc::Message message = JsonRpc::read(line);
            if (message.id) {
                if (++answers == std::size(ListenerMethods)) {
                    std::cerr << "watching" << std::endl;
                }
            } else if (message.isRequest() && !output.writeLine(toLine(message.method))) {
                return Complaint::outputFailed();
            }
        }
        if (answers < std::size(ListenerMethods)) {
            Complaint::tell("the host has not answered", "it has ended, or it is no host of das");
            return ExitFailure;
        }
        return ExitSuccess;
    }
};

}  // namespace

std::unique_ptr<Command> makeWatchCommand() {
    return std::make_unique<WatchCommand>();
}
