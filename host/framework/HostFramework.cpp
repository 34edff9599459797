#include "framework/HostFramework.h"

#include <sstream>
#include <utility>

#include "AurelProtocols.h"
#include "Log.h"
#include "Method.h"

namespace {

constexpr char SenderSeparator = ' ';

}  // namespace

void ClientRequest::send(const Method& method) {
    const std::shared_ptr<Client> client = m_client.lock();
    if (client == nullptr) {
        return;
    }
    try {
        std::ostringstream text;
        m_adapter.encode(method, text);
        client->sendLine(text.str());
    } catch (const std::exception& failure) {
        logAppUni("das", "./host/HostFramework", 2, __LINE__, "Client %s does not hear %s: %s",
                  client->name().c_str(), method.getName().c_str(), failure.what());
    }
}

HostFramework::HostFramework(std::function<std::unique_ptr<Proxy>()> createListenerProxy)
    : m_createListenerProxy(std::move(createListenerProxy)) {}

ProtocolAdapter* HostFramework::findProtocolAdapter(const std::string& name) {
    if (name == AurelProtocols::SERVICE_JSON) {
        return &m_json;
    }
    return name == AurelProtocols::SERVICE_XML ? &m_xml : nullptr;
}

std::string HostFramework::senderOf(const Client& client, const std::string& protocol) {
    return client.name() + SenderSeparator + protocol;
}

std::unique_ptr<ClientRequest> HostFramework::wayTo(const std::string& sender) {
    const std::size_t separator = sender.find(SenderSeparator);
    if (separator == std::string::npos) {
        return nullptr;
    }
    const std::shared_ptr<Client> client = m_clients.find(sender.substr(0, separator));
    ProtocolAdapter* const adapter = findProtocolAdapter(sender.substr(separator + 1));
    return client == nullptr || adapter == nullptr
               ? nullptr
               : std::make_unique<ClientRequest>(client, *adapter);
}

Proxy* HostFramework::findProxy(const std::string& interface, const std::string& sender) {
    if (interface != "DASListenerIfc") {
        return nullptr;
    }
    const std::lock_guard<std::mutex> lock(m_mutex);
    const auto found = m_listeners.find(sender);
    if (found != m_listeners.end()) {
        return found->second.proxy.get();
    }
    Listener listener{wayTo(sender), nullptr};
    if (listener.request != nullptr) {
        listener.proxy = m_createListenerProxy();
    }
    if (listener.proxy == nullptr) {
        return nullptr;
    }
    listener.proxy->initProxy(*listener.request);
    return m_listeners.emplace(sender, std::move(listener)).first->second.proxy.get();
}

void HostFramework::addStatusListener(const std::string& sender) {
    std::unique_ptr<ClientRequest> request = wayTo(sender);
    const std::lock_guard<std::mutex> lock(m_mutex);
    for (auto each = m_statusListeners.begin(); each != m_statusListeners.end();) {
        each = each->second->isGone() ? m_statusListeners.erase(each) : std::next(each);
    }
    if (request != nullptr) {
        m_statusListeners.emplace(sender, std::move(request));
    }
}

void HostFramework::sendStatus(const ManageableData& status) {
    Method method("Status");
    method.addStringParameter("item", status.getItem(), Parameter::out);
    method.addStringParameter("value", status.getValue(), Parameter::out);
    const std::lock_guard<std::mutex> lock(m_mutex);
    for (const auto& [sender, request] : m_statusListeners) {
        request->send(method);
    }
}
