#ifndef HOSTFRAMEWORK_H
#define HOSTFRAMEWORK_H

#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <string>

#include "FrameworkContext.h"
#include "ManageableData.h"
#include "Proxy.h"
#include "ProxyRequest.h"
#include "framework/ChangeRelay.h"
#include "framework/Client.h"
#include "framework/LogRelay.h"
#include "framework/Statistics.h"
#include "wire/JsonAdapter.h"
#include "wire/XmlAdapter.h"

/// The way to a client in one protocol. What is sent after the client has gone goes nowhere. Any
/// thread may call.
class ClientRequest : public ProxyRequest {
public:
    ClientRequest(const std::shared_ptr<Client>& client, ProtocolAdapter& adapter)
        : m_client(client), m_adapter(&adapter) {}

    /// Drops @p method, with a line in the log, if there is no memory for it.
    void send(const Method& method) override;
    /// Whether the client has left.
    bool isGone() const;
    /// Whether it leads to @p client.
    bool isTo(const Client& client) const;

    /// The client, null when it has gone.
    std::shared_ptr<Client> client() const;

    /// From now on what is sent goes where @p other leads.
    void leadTo(const ClientRequest& other);

private:
    mutable std::mutex m_mutex;
    std::weak_ptr<Client> m_client;
    ProtocolAdapter* m_adapter;  // not owned
};

/**
 * What the host gives to an invoker: the protocols, and the way back to clients that listen.
 *
 * A sender is a client together with the protocol of its message, so that a listener is spoken to
 * in the protocol in which it asked. To outlive the service, which holds its listeners to the end.
 *
 * The service can't remove a listener. A proxy therefore stays when its client leaves, and is given
 * to the next client that asks: otherwise clients that come and go would fill the memory.
 *
 * Any thread may call. The mutex of the listeners comes before that of the clients.
 */
class HostFramework : public FrameworkContext {
public:
    /// @p createListenerProxy makes the stand-in for a listener.
    explicit HostFramework(std::function<std::unique_ptr<Proxy>()> createListenerProxy);

    /// The adapter of the protocol @p name; null for an unknown one. In a message in work, that of
    /// the message: see Handed.
    ProtocolAdapter* findProtocolAdapter(const std::string& name) override;

    /// The adapter that is shared by all messages that are not in work; null for an unknown
    /// protocol.
    ProtocolAdapter* adapterOf(const std::string& name);

    /// As long as it lives, this thread finds @p adapter, whatever the name: the one that carries
    /// the message in work, which was read already.
    class Handed {
    public:
        explicit Handed(ProtocolAdapter& adapter);
        ~Handed();
        Handed(const Handed&) = delete;
        Handed& operator=(const Handed&) = delete;
    };

    /// A proxy of its own for each call, since each call adds a listener to the service. It stays
    /// when its client leaves: a listener can't be removed from the service.
    Proxy* findProxy(const std::string& interface, const std::string& sender) override;

    /// Makes @p sender a listener by a proxy whose client has left, so that clients which come and
    /// go leave nothing in the service. False when the service needs a new listener.
    [[nodiscard]] bool takeOverListener(const std::string& sender);

    /// The name by which findProxy knows a client that speaks @p protocol.
    static std::string senderOf(const Client& client, const std::string& protocol);

    /// From now on @p sender hears each status item, once, as the method "Status" with the strings
    /// "item" and "value". Status listeners that have gone are forgotten.
    void addStatusListener(const std::string& sender);
    /// Sends a status item to all of them.
    void sendStatus(const ManageableData& status);

    /// Carries committed changes to clients.
    ChangeRelay& changeRelay() { return m_changeRelay; }

    /// Ends that. To be called before the source of the changes and the server of the clients go.
    void endChanges() { m_changeRelay.end(); }

    /// What this host has done for its clients.
    Statistics& statistics() { return m_statistics; }

    /// How many connections listen.
    Statistics::Listeners listeners();

    /// Clients enter themselves here.
    Clients& clients() { return m_clients; }

    /// Carries the log to clients.
    LogRelay& logRelay() { return m_logRelay; }

private:
    /// A listener of the service, and where its calls go now.
    struct Listener {
        std::unique_ptr<ClientRequest> request;  // first, so that it outlives the proxy
        std::unique_ptr<Proxy> proxy;
    };

    /// The way to the client of @p sender; null when it has left.
    std::unique_ptr<ClientRequest> wayTo(const std::string& sender);

    const std::function<std::unique_ptr<Proxy>()> m_createListenerProxy;
    JsonAdapter m_json;
    XmlAdapter m_xml;
    Clients m_clients;
    Statistics m_statistics;
    LogRelay m_logRelay;  // after the clients that it sends to
    ChangeRelay m_changeRelay;
    std::mutex m_mutex;  ///< of what follows
    std::deque<Listener> m_listeners;
    /// By sender.
    std::map<std::string, std::unique_ptr<ClientRequest>> m_statusListeners;
};

#endif
