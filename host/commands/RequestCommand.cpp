#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <iostream>
#include <memory>
#include <string>
#include <system_error>
#include <vector>

#include "DASUtilsStrings.h"
#include "DataAccessServiceIfc.h"
#include "Log.h"
#include "Method.h"
#include "cli/Arguments.h"
#include "cli/Command.h"
#include "client/Connection.h"
#include "client/HostOptions.h"
#include "client/SocketConnection.h"
#include "framework/ServiceHost.h"
#include "schemas/Answers.h"
#include "terminal/Output.h"
#include "terminal/Utf8.h"
#include "wire/LineCutter.h"

namespace {

/// One place that messages come from: a file, read before the start, or standard input.
struct Source {
    bool isStandardInput;
    std::string text;  ///< the message of a file; blank for standard input
};

struct CloseFile {
    void operator()(std::FILE* file) const { std::fclose(file); }
};

/// The buffer that getline grows.
struct LineBuffer {
    char* text = nullptr;
    std::size_t capacity = 0;

    LineBuffer() = default;
    LineBuffer(const LineBuffer&) = delete;
    LineBuffer& operator=(const LineBuffer&) = delete;
    ~LineBuffer() { std::free(text); }
};

/// The service counts a message's bytes in an int.
bool fitsOneMessage(std::size_t size) {
    return size <= static_cast<std::size_t>(INT_MAX);
}

/// Reads @p file into @p text; 0 or the error of the system.
int readFile(const std::string& name, std::string& text) {
    const std::unique_ptr<std::FILE, CloseFile> file(std::fopen(name.c_str(), "rb"));
    if (file == nullptr) {
        return errno;
    }
    char piece[65536];
    std::size_t count = 0;
    while ((count = std::fread(piece, 1, sizeof piece, file.get())) > 0) {
        text.append(piece, count);
        if (!fitsOneMessage(text.size())) {
            return EFBIG;
        }
    }
    return std::ferror(file.get()) != 0 ? errno : 0;
}

void dropLineFeed(std::string& text) {
    if (!text.empty() && text.back() == '\n') {
        text.pop_back();
    }
}

void tell(const std::string& subject, int error) {
    std::cerr << "das: " << subject << ": " << std::generic_category().message(error) << std::endl;
}

/// Whoever answers messages: the service of this process, or a running host.
class Answerer {
public:
    virtual ~Answerer() = default;

    /// False when there is nobody left to answer.
    [[nodiscard]] virtual bool answer(const std::string& message, std::string& answer) = 0;
};

class LocalAnswerer : public Answerer {
public:
    explicit LocalAnswerer(DataAccessServiceIfc& service) : m_service(service) {}

    bool answer(const std::string& message, std::string& answer) override {
        try {
            answer = m_service.processRequest(message.c_str(), static_cast<int>(message.size()));
        } catch (const std::exception& failure) {
            logAppUni("das", "./host/RequestCommand", 2, __LINE__,
                      "A request ended with an exception: %s", failure.what());
            answer = Answers::failureFor(message);
        }
        return true;
    }

private:
    DataAccessServiceIfc& m_service;
};

class RemoteAnswerer : public Answerer {
public:
    explicit RemoteAnswerer(Connection& connection) : m_connection(connection) {}

    bool answer(const std::string& message, std::string& answer) override {
        answer = Answers::failureFor(message);
        const std::string call = Connection::toCall(Connection::requestOf(message));
        if (!Utf8::isValid(message) || call.size() > LineCutter::MessageLimit) {
            std::cerr << "das: a message that the host would not take is not sent" << std::endl;
            return true;
        }
        Method reply;
        std::string text;
        if (!m_connection.call(call, reply)) {
            return false;
        }
        // An exception in the host's service is answered without the schema.
        if (reply.getStringParameter("Response", text) &&
            text != DASUtilsStrings::FailureResponse) {
            answer = std::move(text);
        }
        return true;
    }

private:
    Connection& m_connection;
};

/// Has messages answered and writes each answer as it comes.
class Conversation {
public:
    Conversation(Answerer& answerer, Output& output) : m_answerer(answerer), m_output(output) {}

    /// Sends all of @p sources, or as many as there is use in sending. Gives the exit status.
    int send(const std::vector<Source>& sources) {
        for (const Source& source : sources) {
            if (!(source.isStandardInput ? sendLines() : sendMessage(source.text))) {
                break;
            }
        }
        return m_exitStatus;
    }

private:
    bool sendMessage(const std::string& message) {
        std::string answer;
        if (!m_answerer.answer(message, answer)) {
            return stop("the running host", ECONNRESET, ExitFailure);
        }
        if (Answers::isFailure(answer)) {
            m_exitStatus = ExitFailure;
        }
        return m_output.writeLine(answer) || stop("standard output", errno, ExitFailure);
    }

    bool sendLines() {
        LineBuffer line;
        for (;;) {
            errno = 0;
            const ssize_t length = getline(&line.text, &line.capacity, stdin);
            if (length < 0) {
                return errno == 0 || stop("standard input", errno, ExitUsage);
            }
            std::string message(line.text, static_cast<std::size_t>(length));
            dropLineFeed(message);
            if (!fitsOneMessage(message.size())) {
                return stop("standard input", EFBIG, ExitUsage);
            }
            if (!message.empty() && !sendMessage(message)) {
                return false;
            }
        }
    }

    bool stop(const std::string& subject, int error, int exitStatus) {
        tell(subject, error);
        m_exitStatus = exitStatus;
        return false;
    }

    Answerer& m_answerer;
    Output& m_output;
    int m_exitStatus = ExitSuccess;
};

/// "das request": messages from files or standard input, their answers on standard output.
class RequestCommand : public Command {
public:
    int run(const HostOptions& options, const Arguments& arguments) override {
        std::vector<Source> sources;
        if (!readSources(arguments.all("FILE"), sources)) {
            return ExitUsage;
        }
        return options.socket ? askRunningHost(*options.socket, sources) : askThisProcess(sources);
    }

private:
    static int askRunningHost(const std::string& socket, const std::vector<Source>& sources) {
        Output output;
        SocketConnection connection;
        std::string error;
        if (!connection.open(socket, error)) {
            std::cerr << "das: " << error << std::endl;
            return ExitUsage;
        }
        RemoteAnswerer answerer(connection);
        return Conversation(answerer, output).send(sources);
    }

    static int askThisProcess(const std::vector<Source>& sources) {
        ServiceHost host;
        if (!host.start()) {
            return ExitNoLibrary;
        }
        LocalAnswerer answerer(host.service());
        return Conversation(answerer, host.output()).send(sources);
    }

    /// Reads every file, so that a bad one is told before anything is sent.
    static bool readSources(const std::vector<std::string>& files, std::vector<Source>& sources) {
        for (const std::string& name : files) {
            Source source{name == "-", ""};
            const int error = source.isStandardInput ? 0 : readFile(name, source.text);
            if (error != 0) {
                tell(name, error);
                return false;
            }
            dropLineFeed(source.text);
            sources.push_back(std::move(source));
        }
        if (sources.empty()) {
            sources.push_back({true, ""});
        }
        return true;
    }
};

}  // namespace

std::unique_ptr<Command> makeRequestCommand() {
    return std::make_unique<RequestCommand>();
}
