#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <fstream>
#include <iostream>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

#include "Log.h"
#include "Method.h"
#include "cli/Arguments.h"
#include "cli/Command.h"
#include "cli/RowArguments.h"
#include "client/Connection.h"
#include "client/HostOptions.h"
#include "client/LocalConnection.h"
#include "client/SocketConnection.h"
#include "framework/ServiceHost.h"
#include "schemas/Answers.h"
#include "terminal/Complaint.h"
#include "terminal/Output.h"
#include "terminal/TerminalText.h"
#include "wire/JsonRpc.h"

namespace {

constexpr std::size_t AllLevels = 6;

struct Colour {
    int level;
    const char* code;
};
/// Failures red, SQL and lock errors yellow, information as it is, detail dim.
const Colour Colours[] = {{2, "\x1b[31m"}, {3, "\x1b[33m"}, {5, ""}, {1000000, "\x1b[2m"}};

/// Writes entries of the log, coloured on a terminal.
class LogWriter {
public:
    LogWriter(Output& output, const Arguments& arguments)
        : m_output(output), m_isColoured(mayColour(output, arguments)) {}

    /// False once anything could not be written; that has been told then.
    bool isGood() const { return m_status == ExitSuccess; }
    int status() const { return m_status; }

    void writeLine(const std::string& line) {
        if (isGood() && !m_output.writeLine(line)) {
            m_status = Complaint::outputFailed();
        }
    }

    void write(const Log::Entry& entry) {
        const std::string line = TerminalText::visible(Log::toLine(entry));
        const char* const colour = m_isColoured ? colourOf(entry.level) : "";
        writeLine(*colour == 0 ? line : colour + line + "\x1b[0m");
    }

private:
    static bool mayColour(const Output& output, const Arguments& arguments) {
        const char* const none = std::getenv("NO_COLOR");
        return output.isTerminal() && !arguments.has("--plain") && (none == nullptr || *none == 0);
    }

    static const char* colourOf(int level) {
        for (const Colour& colour : Colours) {
            if (level <= colour.level) {
                return colour.code;
            }
        }
        return "";
    }

    Output& m_output;
    const bool m_isColoured;
    int m_status = ExitSuccess;
};

/// The entry that a notification of a host holds; false when it holds none.
bool readEntry(const JsonRpc::Message& message, Log::Entry& entry) {
    const Method& method = message.method;
    return message.isRequest() && method.getName() == "Log" &&
           method.getIntParameter("level", entry.level) &&
           method.getStringParameter("component", entry.component) &&
           method.getStringParameter("source", entry.source) &&
           method.getIntParameter("line", entry.line) &&
           method.getStringParameter("message", entry.message);
}

/// "das trace": the log, as it comes.
class TraceCommand : public Command {
public:
    int run(const HostOptions& options, const Arguments& arguments) override {
        if (!RowArguments::readNumber(arguments, "--level", m_level)) {
            return ExitUsage;
        }
        if (!options.socket) {
            return sendHere(arguments);
        }
        if (arguments.has("FILE")) {
            Complaint::tell("trace: a host takes no files, neither by --socket nor by DAS_SOCKET",
                            "send them by das request, or name the folder of phone.db by --db");
            return ExitUsage;
        }
        return follow(*options.socket, arguments);
    }

private:
    int follow(const std::string& socket, const Arguments& arguments) const {
        Output output;
        SocketConnection connection;
        std::string error;
        if (!connection.open(socket, error)) {
            Complaint::tell(error);
            return ExitUsage;
        }
        Method request("AddLogListener");
        request.addIntParameter("Level", static_cast<int>(m_level), Parameter::in);
        // A host that has ended is seen when nothing comes back.
        (void)connection.sendLine(SocketConnection::toCall(request));
        bool isTracing = false;
        LogWriter writer(output, arguments);
        std::string line;
        while (writer.isGood() && connection.readLine(line)) {
            const JsonRpc::Message message = JsonRpc::read(line);
            Log::Entry entry;
            if (message.id) {
                isTracing = true;
                std::cerr << "tracing" << std::endl;
            } else if (readEntry(message, entry)) {
                writer.write(entry);
            }
        }
        if (!isTracing && writer.isGood()) {
            Complaint::tell("the host has not answered", "it has ended, or it is no host of das");
        }
        return isTracing ? writer.status() : ExitFailure;
    }

    /// Sends messages to the service of this process, whose log and answers are shown in order.
    int sendHere(const Arguments& arguments) const {
        std::vector<std::string> messages;
        for (const std::string& name : arguments.all("FILE")) {
            if (!readFile(name, messages)) {
                return ExitUsage;
            }
        }
        ServiceHost host(Output::Printed::Nowhere);
        LogWriter writer(host.output(), arguments);
        Log::setLevel(static_cast<int>(m_level));
        Log::setSink([&](const Log::Entry& entry) { writer.write(entry); });
        const int status =
            host.start() ? sendAll(host, arguments, messages, writer) : ExitNoLibrary;
        Log::setSink({});
        return status != ExitSuccess ? status : writer.status();
    }

    static int sendAll(ServiceHost& host, const Arguments& arguments,
                       const std::vector<std::string>& messages, LogWriter& writer) {
        LocalConnection connection(host);
        int status = ExitSuccess;
        for (const std::string& message : messages) {
            status = std::max(status, send(connection, message, writer));
        }
        std::string line;
        while (!arguments.has("FILE") && writer.isGood() && std::getline(std::cin, line)) {
            status = line.empty() ? status : std::max(status, send(connection, line, writer));
        }
        return status;
    }

    static int send(Connection& connection, const std::string& message, LogWriter& writer) {
        Method answer;
        std::string text;
        if (!connection.call(Connection::requestOf(message), answer) ||
            !answer.getStringParameter("Response", text)) {
            Complaint::tell("the service has not answered");
            return ExitFailure;
        }
        writer.writeLine(text);
        return Answers::isFailure(text) ? ExitFailure : ExitSuccess;
    }

    static bool readFile(const std::string& name, std::vector<std::string>& messages) {
        errno = 0;
        std::ifstream file(name);
        std::ostringstream text;
        text << file.rdbuf();
        if (!file || errno != 0) {
            Complaint::tellError(name, errno);
            return false;
        }
        messages.push_back(text.str());
        if (!messages.back().empty() && messages.back().back() == '\n') {
            messages.back().pop_back();
        }
        return true;
    }

    std::size_t m_level = AllLevels;
};

}  // namespace

std::unique_ptr<Command> makeTraceCommand() {
    return std::make_unique<TraceCommand>();
}
