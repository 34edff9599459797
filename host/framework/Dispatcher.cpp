#include "framework/Dispatcher.h"

#include <exception>
#include <functional>
#include <optional>
#include <sstream>
#include <utility>

#include "AnswerLimit.h"
#include "AurelProtocols.h"
#include "DASUtilsStrings.h"
#include "Invoker.h"
#include "InvokerResponse.h"
#include "Log.h"
#include "Method.h"
#include "ProtocolAdapter.h"
#include "framework/Client.h"
#include "framework/FileProbe.h"
#include "framework/HostFramework.h"
#include "wire/JsonRpc.h"
#include "wire/XmlAdapter.h"

namespace {

const std::string RequestMethod = "processRequest";
const std::string ListenerMethod = "AddListener";
const std::string StatusListenerMethod = "AddStatusListener";
const std::string LogListenerMethod = "AddLogListener";
const std::string FailuresMethod = "LastFailures";
const std::string FileMethod = "CheckFile";
constexpr int LevelOfFailures = 2;

/// An answer above this is large: one of them at a time is built.
constexpr std::size_t LargeAnswer = 1024 * 1024;

/// A message that was read, on its way to the service and back: hands over its method, and makes the
/// reply the line that its client gets. So no message is there as text a second time.
class MessageInWork : public ProtocolAdapter {
public:
    /// @p answers takes turns for large answers.
    MessageInWork(Client& client, std::mutex& answers)
        : m_client(client), m_answers(answers, std::defer_lock) {}

    bool decode(std::istream& /*stream*/, Method& method) override {
        method = std::move(request);
        return isRead;
    }

    void encode(const Method& reply, std::ostream& /*stream*/) override {
        std::size_t size = 0;
        for (const Parameter& parameter : reply.parameters()) {
            size += parameter.text.size();
        }
        if (size > LargeAnswer) {
            takeTurn();
        }
        m_line = toLine(reply);
        if (!m_line) {
            logAppUni("das", "./host/Dispatcher", 2, __LINE__,
                      "The answer to %s is a failure: it is longer than %zu bytes",
                      reply.getName().c_str(), m_client.longestAnswer());
            Method failure(reply.getName());
            failure.addStringParameter("Response", DASUtilsStrings::FailureResponse,
                                       Parameter::out);
            m_line = toLine(failure);
        }
    }

    /// Waits until no other large answer is in work; the turn ends with this object.
    void takeTurn() {
        if (!m_answers.owns_lock()) {
            m_answers.lock();
        }
    }

    void sendAnswer() {
        if (m_line) {
            m_client.sendLine(std::move(*m_line));
        }
    }

    Method request;
    bool isRead = true;

protected:
    virtual std::optional<std::string> toLine(const Method& reply) const {
        return XmlAdapter::write(reply, m_client.longestAnswer());
    }

    Client& m_client;

private:
    std::unique_lock<std::mutex> m_answers;
    std::optional<std::string> m_line;
};

/// The same for a call in JSON, whose id comes back with the reply; without an id there is none.
class CallInWork : public MessageInWork {
public:
    using MessageInWork::MessageInWork;

    std::optional<std::string> id;

private:
    std::optional<std::string> toLine(const Method& reply) const override {
        return JsonRpc::answer(reply, id.value_or("null"), m_client.longestAnswer());
    }
};

/// The way back to a client for one message.
class ClientResponse : public InvokerResponse {
public:
    ClientResponse(const Client& client, const std::string& protocol, std::function<void()> send)
        : m_client(client), m_protocol(protocol), m_send(std::move(send)) {}

    std::string getProtocol() const override { return m_protocol; }
    std::string getSender() const override {
        return HostFramework::senderOf(m_client, m_protocol);
    }
    void setReply(const std::string& /*reply*/) override { m_send(); }

private:
    const Client& m_client;
    const std::string& m_protocol;
    const std::function<void()> m_send;
};

bool isXml(std::string_view line) {
    return line.front() == '<';
}

/// What the message before this one told of failures.
Method failuresOf(Client& client) {
    Method answer(FailuresMethod);
    answer.addStringParameter("Words", client.lastFailures().text(), Parameter::out);
    answer.addBoolParameter("HasFailed", client.lastFailures().hasFailed(), Parameter::out);
    return answer;
}

Method probeOf(const Method& question) {
    std::string path;
    bool forWriting = false;
    (void)question.getStringParameter("Path", path);
    (void)question.getBoolParameter("ForWriting", forWriting);
    const FileProbe probe = FileProbe::of(path, forWriting);
    Method answer(FileMethod);
    answer.addIntParameter("Error", probe.error, Parameter::out);
    answer.addStringParameter("Place", probe.place, Parameter::out);
    return answer;
}

}  // namespace

void Dispatcher::handle(std::string_view line, const std::shared_ptr<Client>& client) noexcept {
    if (line.empty()) {
        return;
    }
    try {
        if (isXml(line)) {
            handleXml(line, client);
        } else {
            handleJson(line, client);
        }
    } catch (const std::exception& failure) {
        logAppUni("das", "./host/Dispatcher", 2, __LINE__,
                  "A message of client %s ended with an exception: %s", client->name().c_str(),
                  failure.what());
        client->end();  // it must not wait for an answer that there was no memory for
    }
}

void Dispatcher::refuse(std::string_view line, Client& client) {
    client.sendLine(isXml(line) ? *XmlAdapter::write(Method(), std::string::npos)
                                : JsonRpc::ParseError);
}

void Dispatcher::handleJson(std::string_view line, const std::shared_ptr<Client>& client) {
    JsonRpc::Message message = line.front() == '{' ? JsonRpc::read(line) : JsonRpc::Message();
    if (!message.isRequest()) {
        client->sendLine(message.isJson ? JsonRpc::InvalidRequest : JsonRpc::ParseError);
        return;
    }
    CallInWork call(*client, m_largeAnswers);
    call.id = std::move(message.id);
    call.request = std::move(message.method);
    const auto send = [&call] {
        if (call.id) {
            call.sendAnswer();
        }
    };
    const std::string& protocol = AurelProtocols::SERVICE_JSON;
    if (const auto answer = answerOfHost(
            call.request, HostFramework::senderOf(*client, protocol), client)) {
        std::ostringstream none;
        call.encode(*answer, none);
        send();
        return;
    }
    ask(call, std::make_unique<ClientResponse>(*client, protocol, send), *client);
}

/// Hands the message to the service, which answers over @p response.
template <typename Message>
void Dispatcher::ask(Message& message, std::unique_ptr<InvokerResponse> response, Client& client) {
    client.lastFailures() = {};
    const LogRelay::Hearing hearing(client.lastFailures());
    const HostFramework::Handed handed(message);
    // Only the answer to a request is built where waiting is safe: nothing else is asked for on the
    // way from there to the client. The others take their turn when they are written.
    std::function<void()> beforeLarge;
    if (message.request.getName() == RequestMethod) {
        beforeLarge = [&message] { message.takeTurn(); };
    }
    const AnswerLimit limit(client.longestAnswer(), LargeAnswer, std::move(beforeLarge));
    m_invoker.handleMessage(&m_service, "", 0, response.release());
}

std::optional<Method> Dispatcher::answerOfHost(const Method& question, const std::string& sender,
                                               const std::shared_ptr<Client>& client) {
    const std::string& name = question.getName();
    if (name == ListenerMethod && m_framework.takeOverListener(sender)) {
        return Method(name);
    }
    if (name == StatusListenerMethod) {
        m_framework.addStatusListener(sender);
        return Method(name);
    }
    if (name == LogListenerMethod) {
        int level = LevelOfFailures;
        (void)question.getIntParameter("Level", level);  // without one, the failures
        m_framework.logRelay().add(client, level);
        return Method(name);
    }
    if (name == FailuresMethod) {
        return failuresOf(*client);
    }
    return name == FileMethod ? std::optional<Method>(probeOf(question)) : std::nullopt;
}

void Dispatcher::handleXml(std::string_view line, const std::shared_ptr<Client>& client) {
    const std::string& protocol = AurelProtocols::SERVICE_XML;
    MessageInWork message(*client, m_largeAnswers);
    message.isRead = XmlAdapter::read(line, message.request);
    const std::string& name = message.request.getName();
    const std::string sender = HostFramework::senderOf(*client, protocol);
    const bool isStatus = name == StatusListenerMethod;
    if (isStatus) {
        m_framework.addStatusListener(sender);
    }
    if (isStatus || (name == ListenerMethod && m_framework.takeOverListener(sender))) {
        std::ostringstream none;
        message.encode(Method(name), none);
        message.sendAnswer();
        return;
    }
    const auto send = [&message] { message.sendAnswer(); };
    ask(message, std::make_unique<ClientResponse>(*client, protocol, send), *client);
}
