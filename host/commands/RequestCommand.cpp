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
#include "Method.h"
#include "cli/Arguments.h"
#include "cli/Command.h"
#include "cli/RowArguments.h"
#include "client/Connection.h"
#include "client/HostOptions.h"
#include "client/Session.h"
#include "schemas/Answers.h"
#include "schemas/KnownSchemas.h"
#include "terminal/Complaint.h"
#include "terminal/Output.h"
#include "terminal/Utf8.h"

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

/// Has messages answered and writes each answer as it comes.
class Conversation {
public:
    explicit Conversation(Session& session) : m_session(session), m_output(session.output()) {}

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
    /// False when there is no host left to answer.
    bool ask(const std::string& message, std::string& answer) {
        answer = Answers::failureFor(message);
        Method reply;
        const auto result =
            m_session.isLocal() || Utf8::isValid(message)
                ? m_session.connection().exchange(Connection::requestOf(message), reply)
                : Connection::Result::NotSent;
        std::string text;
        if (result == Connection::Result::NotSent) {
            std::cerr << "das: a message that the host would not take is not sent" << std::endl;
        } else if (reply.getStringParameter("Response", text) &&
                   text != DASUtilsStrings::FailureResponse) {
            answer = std::move(text);  // an exception in the service is answered without the schema
        }
        return m_session.isLocal() || result != Connection::Result::NoAnswer;
    }

    bool sendMessage(const std::string& message) {
        std::string answer;
        if (!ask(message, answer)) {
            return stop("the running host", ECONNRESET, ExitFailure);
        }
        if (!m_output.writeLine(answer)) {
            m_exitStatus = Complaint::outputFailed();
            return false;
        }
        if (Answers::isFailure(answer)) {
            m_exitStatus = ExitFailure;
            tellReason(message);
        }
        return true;
    }

    /// What can be known of a failure beyond the lines of the log.
    void tellReason(const std::string& message) {
        const std::string name = Answers::schemaOf(message);
        const KnownSchemas::Entry* const schema = KnownSchemas::find(name);
        const std::string words = m_session.takeFailures().text();
        if (name.empty()) {
            Complaint::tell("request: the message names no schema");
        } else if (schema == nullptr) {
            (void)RowArguments::findSchema(name);
        } else if (const std::string reason = Answers::reasonOf(message); !schema->has(reason)) {
            Complaint::tell("request: " + name + " has no " + reason,
                            "it has " + RowArguments::joined(schema->reasons));
        } else if (!words.empty()) {
            Complaint::tell("request: " + words, FailureWords::adviceFor(words));
        }
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

    Session& m_session;
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
        int status = ExitUsage;
        const auto session = Session::open(options, status, Session::Manner::Plain);
        return session == nullptr ? status : Conversation(*session).send(sources);
    }

private:
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
