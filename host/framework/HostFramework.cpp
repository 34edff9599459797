// The message that the invoker handles belongs to a thread: one thread handles a message from
// parsing to its answer.

#include "framework/HostFramework.h"

#include <set>
#include <utility>

#include "AurelProtocols.h"
#include "Log.h"
#include "Method.h"

namespace {

constexpr char SenderSeparator = ' ';

/// How often a client may register as a listener. It then gets each change that often.
constexpr int MostCalls = 16;

thread_local ProtocolAdapter* s_handed = nullptr;

}  // namespace

bool ClientRequest::isGone() const {
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_client.expired();
}

bool ClientRequest::isTo(const Client& client) const {
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_client.lock().get() == &client;
}

std::shared_ptr<Client> ClientRequest::client() const {
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_client.lock();
}

void ClientRequest::leadTo(const ClientRequest& other) {
    // Both at once, so that two proxies that redirect to each other do not deadlock.
    const std::scoped_lock lock(m_mutex, other.m_mutex);
    m_client = other.m_client;
    m_adapter = other.m_adapter;
}

void ClientRequest::send(const Method& method) {
    std::shared_ptr<Client> client;
    ProtocolAdapter* adapter = nullptr;
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        client = m_client.lock();
        adapter = m_adapter;
    }
    if (client == nullptr) {
        return;
    }
    try {
        client->sendLine(lineOf(method, *adapter));
    } catch (const std::exception& failure) {
        logAppUni("das", "./host/HostFramework", 2, __LINE__, "Client %s does not hear %s: %s",
                  client->name().c_str(), method.getName().c_str(), failure.what());
    }
}

HostFramework::HostFramework(std::function<std::unique_ptr<Proxy>()> createListenerProxy)
    : m_createListenerProxy(std::move(createListenerProxy)) {}

HostFramework::Handed::Handed(ProtocolAdapter& adapter) {
    s_handed = &adapter;
}

HostFramework::Handed::~Handed() {
    s_handed = nullptr;
}

ProtocolAdapter* HostFramework::findProtocolAdapter(const std::string& name) {
    return s_handed != nullptr ? s_handed : adapterOf(name);
}

ProtocolAdapter* HostFramework::adapterOf(const std::string& name) {
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
    ProtocolAdapter* const adapter = adapterOf(sender.substr(separator + 1));
    return client == nullptr || adapter == nullptr
               ? nullptr
               : std::make_unique<ClientRequest>(client, *adapter);
}

Proxy* HostFramework::findProxy(const std::string& interface, const std::string& sender) {
    if (interface != "DASListenerIfc") {
        return nullptr;
    }
    const std::lock_guard<std::mutex> lock(m_mutex);
    Listener listener{wayTo(sender), nullptr};
    if (listener.request != nullptr) {
        listener.proxy = m_createListenerProxy();
    }
    if (listener.proxy == nullptr) {
        return nullptr;
    }
    listener.proxy->initProxy(*listener.request);
    m_listeners.push_back(std::move(listener));
    return m_listeners.back().proxy.get();
}

bool HostFramework::takeOverListener(const std::string& sender) {
    const std::lock_guard<std::mutex> lock(m_mutex);
    const std::unique_ptr<ClientRequest> request = wayTo(sender);
    const auto client = m_clients.find(sender.substr(0, sender.find(SenderSeparator)));
    if (request == nullptr || client == nullptr) {
        return true;  // it has disconnected meanwhile
    }
    // A proxy whose client has disconnected can be used for this one.
    Listener* unused = nullptr;
    int calls = 0;
    for (Listener& each : m_listeners) {
        calls += each.request->isTo(*client) ? 1 : 0;
        unused = unused == nullptr && each.request->isGone() ? &each : unused;
    }
    if (calls == MostCalls) {
        logAppUni("das", "./host/HostFramework", 2, __LINE__,
                  "Client %s is a listener %d times and is not taken as one again",
                  client->name().c_str(), calls);
        return true;
    }
    if (unused != nullptr) {
        unused->request->leadTo(*request);
    }
    return unused != nullptr;
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

Statistics::Listeners HostFramework::listeners() {
    std::set<std::shared_ptr<Client>>
        profile;  // destroyed after the mutex is released, because each may be the last reference
    std::set<std::shared_ptr<Client>> status;
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        for (const Listener& each : m_listeners) {
            profile.insert(each.request->client());
        }
        for (const auto& [sender, request] : m_statusListeners) {
            status.insert(request->client());
        }
    }
    profile.erase(nullptr);
    status.erase(nullptr);
    return {profile.size(), status.size(), m_logRelay.listeners(), m_changeRelay.listeners()};
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
