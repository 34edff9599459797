// Exceptions of the standard library, mostly for lack of memory, are caught here. The guards of the
// service have released its locks by then, and a client that gets no answer is disconnected.

#include "framework/Dispatcher.h"

#include <exception>
#include <functional>
#include <sstream>

#include "AnswerLimit.h"
#include "AurelProtocols.h"
#include "Invoker.h"
#include "InvokerResponse.h"
#include "Log.h"
#include "Secrets.h"
#include "framework/AccessCheck.h"
#include "framework/Client.h"
#include "framework/HostFramework.h"
#include "framework/HostMethods.h"
#include "framework/MessageInWork.h"
#include "schemas/Answers.h"
#include "wire/JsonRpc.h"
#include "wire/Methods.h"
#include "wire/XmlAdapter.h"

namespace {

const std::string RequestMethod = "processRequest";
const std::string ListenerMethod = "AddListener";

/// The connection back to a client, for one message.
class ClientResponse : public InvokerResponse {
public:
    ClientResponse(const Client& client, MessageInWork& message)
        : m_client(client), m_message(message) {}

    std::string getProtocol() const override { return m_message.protocol(); }
    std::string getSender() const override {
        return HostFramework::senderOf(m_client, m_message.protocol());
    }
    void setReply(const std::string& /*reply*/) override { m_message.sendAnswer(); }

private:
    const Client& m_client;
    MessageInWork& m_message;
};

/// The text of a request; null for other calls and if the parameter is missing.
const std::string* textOfRequest(const Method& call) {
    if (call.getName() != RequestMethod) {
        return nullptr;
    }
    for (const Parameter& parameter : call.parameters()) {
        if (parameter.name == "Request") {  // of two equal ones the first counts
            return parameter.type == Parameter::Type::String ? &parameter.text : nullptr;
        }
    }
    return nullptr;
}

bool isXml(std::string_view line) {
    return line.front() == '<';
}

/// Whether the database is closed after @p call; no value if the call does not change this.
std::optional<bool> closesDatabase(const Method& call) {
    bool isMadeAgain = false;
    (void)call.getBoolParameter("EnableCreateDb", isMadeAgain);
    const bool isReset =
        call.getName() == "factoryReset" || call.getName() == "invokeACMSFactoryReset";
    return isReset ? std::optional(!isMadeAgain) : std::nullopt;
}

/// Runs @p work. If it throws, this is logged and its client is disconnected, so that it does not
/// wait for an answer for which there was no memory.
template <typename Work>
void guarded(Client& client, Work work) noexcept {
    try {
        work();
    } catch (const std::exception& failure) {
        logAppUni("das", "./host/Dispatcher", 2, __LINE__,
                  "A message of client %s ended with an exception: %s", client.name().c_str(),
                  failure.what());
        client.end();
    }
}

}  // namespace

void Dispatcher::handle(std::string_view line, const std::shared_ptr<Client>& client) noexcept {
    if (!line.empty()) {
        guarded(*client, [&] { isXml(line) ? handleXml(line, client) : handleJson(line, client); });
    }
}

std::optional<Method> Dispatcher::call(Method request,
                                       const std::shared_ptr<Client>& client) noexcept {
    LocalMessage message;
    message.request = std::move(request);
    guarded(*client, [&] { carryOut(message, client); });
    return std::move(message.answer);
}

void Dispatcher::refuse(std::string_view line, Client& client) {
    client.sendLine(isXml(line) ? *XmlAdapter::write(Method(), std::string::npos)
                                : JsonRpc::ParseError);
}

// The turn of a large answer ends with the message, after the answer was sent.
void Dispatcher::handleJson(std::string_view line, const std::shared_ptr<Client>& client) {
    JsonMessage message(*client, m_largeAnswers);
    JsonRpc::Message read = line.front() == '{' ? JsonRpc::read(line) : JsonRpc::Message();
    if (!read.isRequest()) {
        client->sendLine(read.isJson ? JsonRpc::InvalidRequest : JsonRpc::ParseError);
        return;
    }
    message.id = std::move(read.id);
    message.request = std::move(read.method);
    carryOut(message, client);
}

void Dispatcher::handleXml(std::string_view line, const std::shared_ptr<Client>& client) {
    XmlMessage message(*client, m_largeAnswers);
    message.isRead = XmlAdapter::read(line, message.request);
    carryOut(message, client);
}

void Dispatcher::carryOut(MessageInWork& message, const std::shared_ptr<Client>& client) {
    message.subject =
        statistics().subjectOf(message.request.getName(), textOfRequest(message.request));
    if (const ClientRights* const rights = client->rights()) {
        const AccessCheck check(message.request, *rights);
        if (check.isAllowed()) {
            const Secrets::Hidden hidden(check.hidesSecrets());
            carryOutAllowed(message, client);
        } else {
            refuseCall(message, check, *client);
        }
    } else {
        carryOutAllowed(message, client);
    }
    message.count();  // messages without an answer are counted here
}

void Dispatcher::carryOutAllowed(MessageInWork& message, const std::shared_ptr<Client>& client) {
    if (const auto answer = answerOfHost(message, client)) {
        std::ostringstream none;
        message.encode(*answer, none);
        message.sendAnswer();
    } else {
        ask(message, *client);
    }
}

/// Answers a call that its client may not make. The service does not see the call.
void Dispatcher::refuseCall(MessageInWork& message, const AccessCheck& check, Client& client) {
    const std::string& name = message.request.getName();
    const Methods::Row* const method = Methods::find(name);
    ++statistics().refused;
    m_accessLog.refused(client.user(), name, check.schema());
    client.lastFailures() = FailureWords::ofRefusal(check.missing());
    if (method == nullptr || method->kind == Methods::Kind::OneWay) {
        message.hasFailed = true;
        return;
    }
    Method answer(name);
    if (const std::string* const text = textOfRequest(message.request)) {
        answer.addStringParameter("Response", Answers::refusalFor(text->c_str()), Parameter::out);
    } else if (method->xmlParameter != nullptr &&
               message.protocol() == AurelProtocols::SERVICE_XML) {
        answer.addStringParameter("Acknowledge", "ERROR_General", Parameter::out);
    } else {
        answer.addBoolParameter("Acknowledge", false, Parameter::out);
    }
    std::ostringstream none;
    message.encode(answer, none);
    message.sendAnswer();
}

std::optional<ClientRights> Dispatcher::rightsOf(const Peer& peer) const {
    return m_rules ? std::optional(m_rules->rightsOf(peer)) : std::nullopt;
}

Statistics& Dispatcher::statistics() {
    return m_framework.statistics();
}

/// No value for a method of the service.
std::optional<Method> Dispatcher::answerOfHost(const MessageInWork& message,
                                               const std::shared_ptr<Client>& client) {
    const std::string& name = message.request.getName();
    if (name == ListenerMethod &&
        m_framework.takeOverListener(HostFramework::senderOf(*client, message.protocol()))) {
        return Method(name);
    }
    return HostMethods::answer(
        {message.request, message.protocol(), client, m_framework, m_service});
}

/// Passes the message to the service.
void Dispatcher::ask(MessageInWork& message, Client& client) {
    client.lastFailures() = {};
    const LogRelay::Hearing hearing(client.lastFailures());
    const HostFramework::Handed handed(message);
    // Only the answer to a request can wait for its turn while it is built: it waits for nothing
    // else before it reaches the client. Other answers wait for their turn when they are written.
    std::function<void()> beforeLarge;
    if (message.request.getName() == RequestMethod) {
        beforeLarge = [&message] { message.takeTurn(); };
    }
    const AnswerLimit limit(client.longestAnswer(), MessageInWork::LargeAnswer,
                            std::move(beforeLarge));
    const std::optional<bool> closes = closesDatabase(message.request);
    m_invoker.handleMessage(&m_service, "", 0,
                            std::make_unique<ClientResponse>(client, message).release());
    // In this case the service gives no reason, or one that does not help a client.
    if (closes) {
        m_isDatabaseClosed = *closes;
    } else if (m_isDatabaseClosed && message.hasFailed) {
        client.lastFailures().setClosed();
    }
}
