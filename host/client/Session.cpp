// The two kinds of sessions get the reasons of failures from different sources: from the log of
// this process, or from the host, which is asked after a failed call.

#include "client/Session.h"

#include "Method.h"
#include "Progress.h"
#include "client/HostOptions.h"
#include "client/LocalConnection.h"
#include "client/SocketConnection.h"
#include "framework/LogEar.h"
#include "framework/ServiceHost.h"
#include "schemas/Answers.h"
#include "terminal/Complaint.h"
#include "terminal/ProgressLine.h"
#include "terminal/Utf8.h"

namespace {

/// Starts the service in this process and ends it with the session.
class LocalSession : public Session {
public:
    explicit LocalSession(Manner manner)
        : m_ear(manner == Manner::ForPeople ? std::make_unique<LogEar>() : nullptr),
          m_host(manner == Manner::ForPeople ? Output::Printed::Nowhere
                                             : Output::Printed::ToStandardError) {}

    [[nodiscard]] bool start() {
        if (!m_host.start()) {
            return false;
        }
        m_connection = std::make_unique<LocalConnection>(m_host);
        if (m_ear != nullptr) {
            m_ear->startIsOver();
        }
        return true;
    }

    bool isLocal() const override { return true; }
    Output& output() override { return m_host.output(); }
    Connection& connection() override { return *m_connection; }
    FailureWords takeFailures() override {
        return m_ear != nullptr ? m_ear->take() : FailureWords();
    }

protected:
    void forgetFailures() override { (void)takeFailures(); }
    std::string placeOfLog() const override { return "DAS_LOG=5 shows what it did"; }

private:
    const std::unique_ptr<LogEar> m_ear;
    ServiceHost m_host;
    std::unique_ptr<LocalConnection> m_connection;
};

/// Talks to a host. It does not know how far the host's work has come, only that it has not ended.
class RemoteSession : public Session {
public:
    [[nodiscard]] bool open(const std::string& socket) {
        std::string error;
        if (!m_connection.open(socket, error)) {
            Complaint::report(error);
            return false;
        }
        return true;
    }

    bool isLocal() const override { return false; }
    Output& output() override { return m_output; }
    Connection& connection() override { return m_connection; }

    FailureWords takeFailures() override {
        Method answer;
        FailureWords failures;
        std::string words;
        bool hasFailed = false;
        if (m_connection.call(Method("LastFailures"), answer) &&
            answer.getStringParameter("Words", words) &&
            answer.getBoolParameter("HasFailed", hasFailed) && !words.empty()) {
            failures.add({hasFailed ? 0 : FailureWords::HighestLevel, "", "", 0, words});
        }
        return failures;
    }

protected:
    void forgetFailures() override {}  // the host keeps the failures of each call apart
    std::string placeOfLog() const override { return "das trace shows the log of the host"; }

private:
    ProgressLine m_progress;
    Output m_output;
    SocketConnection m_connection;
};

}  // namespace

std::unique_ptr<Session> Session::open(const HostOptions& options, int& status, Manner manner) {
    if (options.socket) {
        auto session = std::make_unique<RemoteSession>();
        status = ExitUsage;
        return session->open(*options.socket) ? std::move(session) : nullptr;
    }
    auto session = std::make_unique<LocalSession>(manner);
    status = ExitNoLibrary;
    return session->start() ? std::move(session) : nullptr;
}

bool Session::call(const Method& method, Method& answer) {
    forgetFailures();
    if (!isLocal()) {
        Progress::report({"waiting for the host", 0, 0, 1});
    }
    const Connection::Result result = connection().exchange(method, answer);
    Progress::report({"", 0, 1, 1});
    if (result == Connection::Result::NotSent) {
        Complaint::report("the request is not sent: it is no UTF-8, or longer than 8 MiB");
    } else if (result == Connection::Result::NoAnswer) {
        Complaint::report("the host has not answered", "it has ended, or it is no host of das");
    }
    return result == Connection::Result::Answered;
}

std::optional<std::string> Session::ask(const std::string& request) {
    if (!Utf8::isValid(request)) {
        Complaint::report("the request is not sent: it is no UTF-8, or longer than 8 MiB");
        return std::nullopt;
    }
    Method answer;
    std::string text;
    if (!call(Connection::requestOf(request), answer)) {
        return std::nullopt;
    }
    if (!answer.getStringParameter("Response", text)) {
        Complaint::report("the host's answer holds no response", "it is no host of das");
        return std::nullopt;
    }
    return text;
}

std::optional<std::string> Session::askFor(const std::string& what, const std::string& request,
                                           const std::string& advice) {
    auto answer = ask(request);
    if (answer && (*answer == "failure" || Answers::isFailure(*answer))) {
        reportFailure(what, advice);
        return std::nullopt;
    }
    return answer;
}

bool Session::reportRefusal(const std::string& what) {
    const FailureWords words = isLocal() ? FailureWords() : takeFailures();
    if (words.isRefusal()) {
        Complaint::report(what + ": " + words.text());
    }
    return words.isRefusal();
}

int Session::reportFailure(const std::string& what, const std::string& advice) {
    if (reportRefusal(what)) {
        return ExitFailure;
    }
    const std::string words = takeFailures().text();
    const std::string known = FailureWords::adviceFor(words);
    Complaint::report(what + ": the service answered a failure: " +
                          (words.empty() ? "it gives no reason" : words),
                      !known.empty()                     ? known
                      : words.empty() && !advice.empty() ? advice
                                                         : placeOfLog());
    return ExitFailure;
}
