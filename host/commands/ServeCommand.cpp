// "das serve": the service for other processes, over a socket or over standard streams.

#include <poll.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <mutex>
#include <utility>

#include "DataAccessServiceIfc.h"
#include "Log.h"
#include "OwnFiles.h"
#include "Work.h"
#include "cli/Command.h"
#include "framework/AccessRules.h"
#include "framework/Client.h"
#include "framework/Dispatcher.h"
#include "framework/ServiceHost.h"
#include "server/EndWatch.h"
#include "server/HandedSockets.h"
#include "server/ListeningSocket.h"
#include "server/ServiceNotice.h"
#include "server/SocketServer.h"
#include "wire/LineCutter.h"

namespace {

/// A request that takes all locks and reads the database; its answer does not matter.
const std::string SignOfLife =
    "<Schema name=\"MobilitySettings\"><ReasonForMessage>read_request</ReasonForMessage>"
    "<ResultCols>MobilityCurrentUser</ResultCols></Schema>";

/// The one client of "das serve --stdio".
class StandardOutput : public Client {
public:
    StandardOutput(Clients& clients, Output& output) : Client(clients), m_output(output) {}

    void sendLine(std::string line) override {
        // It is not known whether an interrupted message was executed, so it is not answered.
        if (!Work::isInterrupted()) {
            const std::lock_guard<std::mutex> lock(m_mutex);
            write(takeChanges() + std::move(line));
        }
    }

    void sendChanges() override {
        const std::lock_guard<std::mutex> lock(m_mutex);
        std::string lines = takeChanges();
        if (!lines.empty()) {
            lines.pop_back();  // the last line feed
            write(lines);
        }
    }

    void end() override { m_error = ENOMEM; }

    /// The error that ended the output; 0 for none.
    int error() const { return m_error; }

private:
    void write(const std::string& lines) {
        if (m_error == 0 && !m_output.writeLine(lines)) {
            m_error = errno;
        }
    }

    Output& m_output;
    std::mutex m_mutex;  ///< protects the output, so that no answer comes before a change that it
                         ///< could show
    std::atomic<int> m_error{0};
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
        m_client->sendChanges();  // changes that the last one-way calls have made
        if (m_client->error() != 0) {
            Complaint::reportError("standard output", m_client->error());
            return ExitFailure;
        }
        return m_status;
    }

private:
    /// False at the end of the input.
    bool read() {
        const auto space = m_lines.room();
        const ssize_t count = waitForInput() ? ::read(STDIN_FILENO, space.begin, space.size) : 0;
        if (count < 0 && errno != EAGAIN && errno != EINTR) {
            Complaint::reportError("standard input", errno);
            m_status = ExitUsage;
            return false;
        }
        m_lines.filled(count > 0 ? static_cast<std::size_t>(count) : 0);
        return count != 0;
    }

    /// False if a signal has arrived.
    bool waitForInput() {
        pollfd waiting[] = {{STDIN_FILENO, POLLIN, 0}, {m_end.descriptor(), POLLIN, 0}};
        while (poll(waiting, 2, -1) < 0 && errno == EINTR) {
        }
        return !m_end.isAsked();
    }

    Dispatcher& m_dispatcher;
    EndWatch& m_end;
    std::shared_ptr<StandardOutput> m_client;
    LineCutter m_lines;
    int m_status = ExitSuccess;
};

/// Where clients connect, and what they may do. Without rules, all clients that the mode of the
/// socket admits may do everything.
struct Socket {
    std::optional<std::string> path;
    std::optional<AccessRules> rules;
};

/// Only for people: service managers and scripts need no such line.
void greetPerson(const std::string& what, const std::string& advice) {
    if (isatty(STDERR_FILENO) != 0) {
        Complaint::report(what, advice);
    }
}

int serveStreams(EndWatch& end) {
    ServiceHost host;
    if (!host.start()) {
        return ExitNoLibrary;
    }
    greetPerson("serving standard input and output", "Ctrl-D ends it");
    return StandardStreams(host, end).serve();
}

/// The path of a socket that the service manager has opened is known afterwards.
bool listen(ListeningSocket& socket, Socket& where, const HandedSockets& handed,
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

/// The socket comes first, because a second host at the same path must not start a service.
/// Messages that clients send meanwhile wait until the server reads them.
int serveSocket(Socket where, const HandedSockets& handed, EndWatch& end) {
    ListeningSocket socket;
    std::string error;
    if (!listen(socket, where, handed, error)) {
        Complaint::report(error);
        return ExitUsage;
    }
    ServiceHost host;
    ServiceNotice notice;
    if (!host.start()) {
        return ExitNoLibrary;
    }
    if (end.isAsked()) {
        return ExitSuccess;  // the start may have ended early
    }
    host.keepFailures();
    if (where.rules) {
        host.setRules(std::move(*where.rules));
    }
    const SocketServer server(socket.release(), host.dispatcher(), host.clients());
    notice.ready(*where.path, [&host] {
        (void)host.service().processRequest(SignOfLife.data(), static_cast<int>(SignOfLife.size()));
    });
    greetPerson("listening at " + *where.path, "Ctrl-C ends it");
    end.wait();
    notice.ending();
    host.endChanges();
    socket.remove();
    return ExitSuccess;
}

}  // namespace

int runServe(const HostOptions& options, const Arguments& arguments) {
    const bool isStdio = arguments.has("--stdio");
    const HandedSockets handed;
    const bool isSocket = options.socket.has_value() || !(isStdio || handed.empty());
    if (isStdio == isSocket) {
        Complaint::report(isStdio ? "serve: --stdio and --socket exclude each other"
                                  : "serve: neither --socket nor --stdio is given",
                          isStdio ? "leave one of them out" : "name one of them");
        return ExitUsage;
    }
    if (isStdio && arguments.has("--access")) {
        Complaint::report("serve: --access and --stdio exclude each other",
                          "rules are for the clients of a socket");
        return ExitUsage;
    }
    EndWatch end;
    Socket where{options.socket, std::nullopt};
    if (const auto file = arguments.value("--access")) {
        std::string error;
        if (!where.rules.emplace().read(*file, error)) {
            Complaint::report("serve: --access: " + error);
            return ExitUsage;
        }
    }
    return isStdio ? serveStreams(end) : serveSocket(std::move(where), handed, end);
}
