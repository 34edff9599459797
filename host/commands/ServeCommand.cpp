#include <poll.h>
#include <unistd.h>

#include <cerrno>
#include <iostream>
#include <memory>
#include <optional>
#include <string>
#include <system_error>
#include <utility>

#include "DataAccessServiceIfc.h"
#include "Log.h"
#include "OwnFiles.h"
#include "Work.h"
#include "cli/Arguments.h"
#include "cli/Command.h"
#include "client/HostOptions.h"
#include "framework/AccessRules.h"
#include "framework/Client.h"
#include "framework/Dispatcher.h"
#include "framework/ServiceHost.h"
#include "server/EndWatch.h"
#include "server/HandedSockets.h"
#include "server/ListeningSocket.h"
#include "server/ServiceNotice.h"
#include "server/SocketServer.h"
#include "terminal/Complaint.h"
#include "terminal/Output.h"
#include "wire/LineCutter.h"

namespace {

/// Takes all locks of a request and reads the database; the answer does not matter.
const std::string SignOfLife =
    "<Schema name=\"MobilitySettings\"><ReasonForMessage>read_request</ReasonForMessage>"
    "<ResultCols>MobilityCurrentUser</ResultCols></Schema>";

/// The one client of "das serve --stdio".
class StandardOutput : public Client {
public:
    StandardOutput(Clients& clients, Output& output) : Client(clients), m_output(output) {}

    void sendLine(std::string line) override {
        // What was interrupted may or may not be done, so it is not answered.
        if (m_error == 0 && !Work::isInterrupted() && !m_output.writeLine(line)) {
            m_error = errno;
        }
    }

    void end() override { m_error = ENOMEM; }

    /// The error that ended the output; 0 for none.
    int error() const { return m_error; }

private:
    Output& m_output;
    int m_error = 0;
};

/// The conversation over standard input and output.
class StandardStreams {
public:
    StandardStreams(ServiceHost& host, EndWatch& end)
        : m_dispatcher(host.dispatcher()),
          m_end(end),
          m_client(std::make_shared<StandardOutput>(host.clients(), host.output())),
          m_lines(LineCutter::MessageLimit) {}

    int serve() {
        bool isOpen = true;
        while (isOpen && m_client->error() == 0) {
            std::string_view line;
            switch (m_lines.next(line)) {
                case LineCutter::Found::Line:
                    m_dispatcher.handle(line, m_client);
                    break;
                case LineCutter::Found::TooLong:
                    m_dispatcher.refuse(line, *m_client);
                    isOpen = false;
                    break;
                case LineCutter::Found::Nothing:
                    isOpen = read();
                    break;
            }
        }
        return m_client->error() == 0 ? m_status : tell("standard output", m_client->error());
    }

private:
    /// False when there is no more to come.
    bool read() {
        const LineCutter::Room room = m_lines.room();
        const ssize_t count = waitForInput() ? ::read(STDIN_FILENO, room.begin, room.size) : 0;
        if (count < 0 && errno != EAGAIN && errno != EINTR) {
            tell("standard input", errno);
            m_status = ExitUsage;
            return false;
        }
        m_lines.filled(count > 0 ? static_cast<std::size_t>(count) : 0);
        return count != 0;
    }

    /// False when a signal has come.
    bool waitForInput() {
        pollfd waiting[] = {{STDIN_FILENO, POLLIN, 0}, {m_end.descriptor(), POLLIN, 0}};
        while (poll(waiting, 2, -1) < 0 && errno == EINTR) {
        }
        return !m_end.isAsked();
    }

    static int tell(const std::string& subject, int error) {
        std::cerr << "das: " << subject << ": " << std::generic_category().message(error)
                  << std::endl;
        return ExitFailure;
    }

    Dispatcher& m_dispatcher;
    EndWatch& m_end;
    std::shared_ptr<StandardOutput> m_client;
    LineCutter m_lines;
    int m_status = ExitSuccess;
};

/// "das serve": the service for other processes.
class ServeCommand : public Command {
public:
    int run(const HostOptions& options, const Arguments& arguments) override {
        const bool isStdio = arguments.has("--stdio");
        const HandedSockets handed;
        const bool isSocket = options.socket.has_value() || !(isStdio || handed.empty());
        if (isStdio == isSocket) {
            Complaint::tell(isStdio ? "serve: --stdio and --socket say different things"
                                    : "serve: one of --socket and --stdio is required",
                            isStdio ? "leave one of them out" : "");
            return ExitUsage;
        }
        if (isStdio && arguments.has("--access")) {
            Complaint::tell("serve: --access and --stdio say different things",
                            "rules are for the clients of a socket");
            return ExitUsage;
        }
        EndWatch end;
        std::optional<AccessRules> rules;
        if (const auto file = arguments.value("--access")) {
            std::string error;
            if (!rules.emplace().read(*file, error)) {
                Complaint::tell("serve: --access: " + error);
                return ExitUsage;
            }
        }
        return isStdio ? serveStreams(end)
                       : serveSocket({options.socket, std::move(rules)}, handed, end);
    }

private:
    struct Socket {
        std::optional<std::string> path;
        std::optional<AccessRules> rules;
    };

    static int serveStreams(EndWatch& end) {
        ServiceHost host;
        if (!host.start()) {
            return ExitNoLibrary;
        }
        tellPerson("serving standard input and output", "Ctrl-D ends it");
        return StandardStreams(host, end).serve();
    }

    /// Service managers and scripts need no such line.
    static void tellPerson(const std::string& what, const std::string& advice) {
        if (isatty(STDERR_FILENO) != 0) {
            Complaint::tell(what, advice);
        }
    }

    /// The socket comes first: where another host listens, this one must not start a service. What
    /// clients send meanwhile waits for them to be taken in.
    static int serveSocket(Socket where, const HandedSockets& handed, EndWatch& end) {
        ListeningSocket socket;
        std::string error;
        if (!listen(socket, where, handed, error)) {
            std::cerr << "das: " << error << std::endl;
            return ExitUsage;
        }
        ServiceHost host;
        ServiceNotice notice;
        if (!host.start()) {
            return ExitNoLibrary;
        }
        if (end.isAsked()) {
            return ExitSuccess;  // the start may have ended before its time
        }
        host.keepFailures();
        if (where.rules) {
            host.setRules(std::move(*where.rules));
        }
        const SocketServer server(socket.release(), host.dispatcher(), host.clients());
        notice.ready(*where.path, [&host] {
            (void)host.service().processRequest(SignOfLife.data(),
                                                static_cast<int>(SignOfLife.size()));
        });
        tellPerson("listening at " + *where.path, "Ctrl-C ends it");
        end.wait();
        notice.ending();
        host.endChanges();
        socket.remove();
        return ExitSuccess;
    }

    /// A path that was not given is known afterwards.
    static bool listen(ListeningSocket& socket, Socket& where, const HandedSockets& handed,
                       std::string& error) {
        if (handed.empty()) {
            return socket.open(*where.path, where.rules.has_value(), error);
        }
        const int descriptor = handed.take(where.path, error);
        if (where.path) {
            OwnFiles::add(*where.path);
        }
        socket.adopt(descriptor);
        return descriptor >= 0;
    }
};

}  // namespace

std::unique_ptr<Command> makeServeCommand() {
    return std::make_unique<ServeCommand>();
}
