// "das request": messages from files or standard input, with their answers on standard output.
// Programs rely on its exact output and log, so both have their full form by default.

#include <cerrno>
#include <climits>
#include <cstdio>
#include <utility>

#include "ClientUtils.h"
#include "DASUtilsStrings.h"
#include "Method.h"
#include "cli/CallerFile.h"
#include "cli/Command.h"
#include "cli/RowArguments.h"
#include "client/Connection.h"
#include "schemas/Answers.h"
#include "terminal/StandardInput.h"
#include "terminal/Utf8.h"

namespace {

/// The service counts a message's bytes in an int.
constexpr std::size_t LongestMessage = INT_MAX;

/// A source of messages: the message of a file, which is read before the start, or standard input.
using Source = std::optional<std::string>;

/// Sends messages and writes each answer when it comes.
class Conversation {
public:
    explicit Conversation(Session& session) : m_session(session) {}

    /// Sends all of @p sources, or stops if sending is useless. Returns the exit status.
    int send(const std::vector<Source>& sources) {
        for (const Source& source : sources) {
            if (!(source ? sendMessage(*source) : sendLines())) {
                break;
            }
        }
        return m_exitStatus;
    }

private:
    /// False if the host has ended.
    bool ask(const std::string& message, std::string& answer) {
        Method reply;
        const auto result =
            m_session.isLocal() || Utf8::isValid(message)
                ? m_session.connection().exchange(Connection::requestOf(message), reply)
                : Connection::Result::NotSent;
        if (result == Connection::Result::NotSent) {
            Complaint::report(
                "request: a message is not sent: it is no UTF-8, or longer than 8 MiB");
        }
        if (!reply.getStringParameter("Response", answer) ||
            answer == DASUtilsStrings::FailureResponse) {
            // After an exception in the service, the answer has no schema.
            answer = Answers::failureFor(message);
        }
        return m_session.isLocal() || result != Connection::Result::NoAnswer;
    }

    bool sendMessage(const std::string& message) {
        std::string answer;
        if (!ask(message, answer)) {
            return stop("the running host", ECONNRESET, ExitFailure);
        }
        if (!m_session.output().writeLine(answer)) {
            m_exitStatus = Complaint::outputFailed();
            return false;
        }
        if (Answers::isFailure(answer)) {
            m_exitStatus = ExitFailure;
            reportReason(message);
        }
        return true;
    }

    /// Reports what is known about a failure beyond the lines of the log.
    void reportReason(const std::string& message) {
        const std::string name = Answers::schemaOf(message);
        const KnownSchemas::Entry* const schema = KnownSchemas::find(name);
        const std::string words = m_session.takeFailures().text();
        if (name.empty()) {
            Complaint::report("request: the message names no schema");
        } else if (schema == nullptr) {
            (void)RowArguments::findSchema(name);
        } else if (const std::string reason = Answers::reasonOf(message); !schema->has(reason)) {
            Complaint::report("request: " + name + " has no " + reason,
                              "it has " + ClientUtils::join(schema->reasons, ", "));
        } else if (!words.empty()) {
            Complaint::report("request: " + words, FailureWords::adviceFor(words));
        }
    }

    bool sendLines() {
        StandardInput input;
        std::string line;
        while (input.next(line)) {
            if (line.size() > LongestMessage) {
                return stop("standard input", EFBIG, ExitUsage);
            }
            if (!line.empty() && !sendMessage(line)) {
                return false;
            }
        }
        return input.error() == 0 || stop("standard input", input.error(), ExitUsage);
    }

    bool stop(const std::string& subject, int error, int exitStatus) {
        Complaint::reportError(subject, error);
        m_exitStatus = exitStatus;
        return false;
    }

    Session& m_session;
    int m_exitStatus = ExitSuccess;
};

/// Reads every file, so that a bad one is reported before anything is sent.
bool readSources(const std::vector<std::string>& files, std::vector<Source>& sources) {
    for (const std::string& name : files) {
        Source& source = sources.emplace_back();
        if (name == "-") {
            continue;
        }
        if (const int error = CallerFile::readLess(name, LongestMessage, source.emplace())) {
            Complaint::reportError(name, error);
            return false;
        }
    }
    if (sources.empty()) {
        sources.emplace_back();
    }
    return true;
}

}  // namespace

int runRequest(const HostOptions& options, const Arguments& arguments) {
    std::vector<Source> sources;
    if (!readSources(arguments.all("FILE"), sources)) {
        return ExitUsage;
    }
    int status = ExitUsage;
    const auto session = Session::open(options, status, Session::Manner::Plain);
    return session == nullptr ? status : Conversation(*session).send(sources);
}
