#include "framework/Dispatcher.h"

#include <exception>
#include <optional>
#include <sstream>
#include <utility>

#include "AurelProtocols.h"
#include "Invoker.h"
#include "InvokerResponse.h"
#include "Log.h"
#include "Method.h"
#include "framework/Client.h"
#include "framework/FileProbe.h"
#include "framework/HostFramework.h"
#include "wire/JsonRpc.h"

namespace {

const std::string StatusListenerMethod = "AddStatusListener";
const std::string LogListenerMethod = "AddLogListener";
const std::string FailuresMethod = "LastFailures";
const std::string FileMethod = "CheckFile";
constexpr int LevelOfFailures = 2;

/// The way back to a client for one message.
class ClientResponse : public InvokerResponse {
public:
    explicit ClientResponse(std::shared_ptr<Client> client) : m_client(std::move(client)) {}

    std::string getProtocol() const override { return AurelProtocols::SERVICE_XML; }
    std::string getSender() const override {
        return HostFramework::senderOf(*m_client, getProtocol());
    }
    void setReply(const std::string& reply) override { m_client->sendLine(reply); }

private:
    std::shared_ptr<Client> m_client;
};

/// The same for a call in JSON, whose id comes back with the reply; without an id there is none.
class JsonResponse : public ClientResponse {
public:
    JsonResponse(std::shared_ptr<Client> client, std::optional<std::string> id)
        : ClientResponse(std::move(client)), m_id(std::move(id)) {}

    std::string getProtocol() const override { return AurelProtocols::SERVICE_JSON; }
    void setReply(const std::string& reply) override {
        if (m_id) {
            ClientResponse::setReply(JsonRpc::toAnswer(reply, *m_id));
        }
    }

private:
    std::optional<std::string> m_id;
};

bool isXml(std::string_view line) {
    return line.front() == '<';
}

/// The method in XML that @p text holds; one without a name when it holds none.
Method decoded(ProtocolAdapter& adapter, std::string_view text) {
    Method method;
    std::istringstream stream{std::string(text)};
    (void)adapter.decode(stream, method);
    return method;
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

std::string encoded(ProtocolAdapter& adapter, const Method& method) {
    std::ostringstream text;
    adapter.encode(method, text);
    return text.str();
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
    ProtocolAdapter& xml = *m_framework.findProtocolAdapter(AurelProtocols::SERVICE_XML);
    client.sendLine(isXml(line) ? encoded(xml, Method()) : JsonRpc::ParseError);
}

void Dispatcher::handleJson(std::string_view line, const std::shared_ptr<Client>& client) {
    JsonRpc::Message message = line.front() == '{' ? JsonRpc::read(line) : JsonRpc::Message();
    if (!message.isRequest()) {
        client->sendLine(message.isJson ? JsonRpc::InvalidRequest : JsonRpc::ParseError);
        return;
    }
    auto response = std::make_unique<JsonResponse>(client, std::move(message.id));
    if (const auto answer = answerOfHost(message.method, response->getSender(), client)) {
        response->setReply(JsonRpc::notification(*answer));
        return;
    }
    client->lastFailures() = {};
    const LogRelay::Hearing hearing(client->lastFailures());
    m_invoker.handleMessage(&m_service, line.data(), static_cast<int>(line.size()),
                            response.release());
}

std::optional<Method> Dispatcher::answerOfHost(const Method& question, const std::string& sender,
                                               const std::shared_ptr<Client>& client) {
    const std::string& name = question.getName();
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
    auto response = std::make_unique<ClientResponse>(client);
    ProtocolAdapter& adapter = *m_framework.findProtocolAdapter(AurelProtocols::SERVICE_XML);
    // The rare word is looked for before the line is read for it.
    if (line.find(StatusListenerMethod) != std::string_view::npos &&
        decoded(adapter, line).getName() == StatusListenerMethod) {
        m_framework.addStatusListener(response->getSender());
        response->setReply(encoded(adapter, Method(StatusListenerMethod)));
        return;
    }
    client->lastFailures() = {};
    const LogRelay::Hearing hearing(client->lastFailures());
    m_invoker.handleMessage(&m_service, line.data(), static_cast<int>(line.size()),
                            response.release());
}
