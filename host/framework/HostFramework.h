#ifndef HOSTFRAMEWORK_H
#define HOSTFRAMEWORK_H

#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <string>

#include "FrameworkContext.h"
#include "ManageableData.h"
#include "Proxy.h"
#include "ProxyRequest.h"
#include "framework/Client.h"
#include "framework/LogRelay.h"
#include "wire/JsonAdapter.h"
#include "wire/XmlAdapter.h"

/// The way to a client in one protocol. What is sent after the client has gone goes nowhere.
class ClientRequest : public ProxyRequest {
public:
    ClientRequest(const std::shared_ptr<Client>& client, ProtocolAdapter& adapter)
        : m_client(client), m_adapter(adapter) {}

    void send(const Method& method) override;
    bool isGone() const { return m_client.expired(); }

private:
    std::weak_ptr<Client> m_client;
    ProtocolAdapter& m_adapter;
};

/**
 * What the host gives to an invoker: the protocols, and the way back to clients that listen.
 *
 * A sender is a client together with the protocol of its message, so that a listener is spoken to
 * in the protocol in which it asked. To outlive the service, which holds its listeners to the end.
 */
class HostFramework : public FrameworkContext {
public:
    /// @p createListenerProxy makes the stand-in for a listener.
    explicit HostFramework(std::function<std::unique_ptr<Proxy>()> createListenerProxy);

    ProtocolAdapter* findProtocolAdapter(const std::string& name) override;

    /// The same sender is given the same proxy. Proxies stay when their clients leave, since a
    /// listener can't be taken out of the service.
    Proxy* findProxy(const std::string& interface, const std::string& sender) override;

    /// The name by which findProxy knows a client that speaks @p protocol.
    static std::string senderOf(const Client& client, const std::string& protocol);

    /// From now on @p sender hears each status item, once, as the method "Status" with the strings
    /// "item" and "value". Status listeners that have gone are forgotten.
    void addStatusListener(const std::string& sender);
    void sendStatus(const ManageableData& status);

    Clients& clients() { return m_clients; }

    /// Carries the log to clients.
    LogRelay& logRelay() { return m_logRelay; }

private:
    struct Listener {
        std::unique_ptr<ClientRequest> request;  // first, so that it outlives the proxy
        std::unique_ptr<Proxy> proxy;
    };

    std::unique_ptr<ClientRequest> wayTo(const std::string& sender);

    const std::function<std::unique_ptr<Proxy>()> m_createListenerProxy;
    JsonAdapter m_json;
    XmlAdapter m_xml;
    Clients m_clients;
    LogRelay m_logRelay;  // behind the clients that it speaks to
    std::mutex m_mutex;   ///< of the two maps, by sender
    std::map<std::string, Listener> m_listeners;
    std::map<std::string, std::unique_ptr<ClientRequest>> m_statusListeners;
};

#endif
