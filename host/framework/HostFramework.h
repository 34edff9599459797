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

/// Sends methods to a client in one protocol. If the client has disconnected, they are dropped. Any
/// thread may call.
class ClientRequest : public ProxyRequest {
public:
    ClientRequest(const std::shared_ptr<Client>& client, ProtocolAdapter& adapter)
        : m_client(client), m_adapter(&adapter) {}

    /// Sends @p method. If there is no memory for it, it is dropped with a log line.
    void send(const Method& method) override;
    /// Whether the client has disconnected.
    bool isGone() const;
    /// Whether this sends to @p client.
    bool isTo(const Client& client) const;

    /// The client; null if it has disconnected.
    std::shared_ptr<Client> client() const;

    /// From now on this sends to the client of @p other.
    void leadTo(const ClientRequest& other);

private:
    mutable std::mutex m_mutex;
    std::weak_ptr<Client> m_client;
    ProtocolAdapter* m_adapter;  // not owned
};

/**
 * What the host provides to an invoker: the protocols, and connections to clients that listen.
 *
 * A sender is a client together with the protocol of its message, so that a listener gets messages
 * in the protocol in which it registered. This object must outlive the service, which keeps its
 * listeners until its end.
 *
 * The service can't remove a listener. So a proxy stays when its client disconnects, and is used
 * for the next client that registers. Otherwise clients that connect and disconnect would use up
 * the memory.
 *
 * Any thread may call. The mutex of the listeners comes before that of the clients.
 */
class HostFramework : public FrameworkContext {
public:
    /// @p createListenerProxy creates the proxy for a listener.
    explicit HostFramework(std::function<std::unique_ptr<Proxy>()> createListenerProxy);

    /// The adapter of the protocol @p name; null if it is unknown. While a message is handled, the
    /// adapter of that message: see Handed.
    ProtocolAdapter* findProtocolAdapter(const std::string& name) override;

    /// The adapter that is used when no message is handled; null for an unknown protocol.
    ProtocolAdapter* adapterOf(const std::string& name);

    /// While this object lives, findProtocolAdapter() returns @p adapter on this thread, whatever
    /// the name: the adapter of the message that is being handled and was parsed already.
    class Handed {
    public:
        explicit Handed(ProtocolAdapter& adapter);
        ~Handed();
        Handed(const Handed&) = delete;
        Handed& operator=(const Handed&) = delete;
    };

    /// Creates a separate proxy for each call, since each call adds a listener to the service. The
    /// proxy stays when its client disconnects, because the service can't remove a listener.
    Proxy* findProxy(const std::string& interface, const std::string& sender) override;

    /// Registers @p sender by a proxy whose client has disconnected, so that such proxies are used
    /// again. False if the service needs a new listener.
    [[nodiscard]] bool takeOverListener(const std::string& sender);

    /// The name by which findProxy knows a client that speaks @p protocol.
    static std::string senderOf(const Client& client, const std::string& protocol);

    /// From now on @p sender gets each status item once, as the method "Status" with the strings
    /// "item" and "value". Listeners that have disconnected are removed.
    void addStatusListener(const std::string& sender);
    /// Sends a status item to all of them.
    void sendStatus(const ManageableData& status);

    /// Sends committed changes to clients.
    ChangeRelay& changeRelay() { return m_changeRelay; }

    /// Stops this. Call it before the source of the changes and the server of the clients are
    /// destroyed.
    void endChanges() { m_changeRelay.end(); }

    /// What this host has done for its clients.
    Statistics& statistics() { return m_statistics; }

    /// How many connections listen.
    Statistics::Listeners listeners();

    /// The list of clients, to which each client adds itself.
    Clients& clients() { return m_clients; }

    /// Sends the log to clients.
    LogRelay& logRelay() { return m_logRelay; }

private:
    /// A listener of the service, and the client that it sends to now.
    struct Listener {
        std::unique_ptr<ClientRequest> request;  // declared first, so that it outlives the proxy
        std::unique_ptr<Proxy> proxy;
    };

    /// The connection to the client of @p sender; null if it has disconnected.
    std::unique_ptr<ClientRequest> wayTo(const std::string& sender);

    const std::function<std::unique_ptr<Proxy>()> m_createListenerProxy;
    JsonAdapter m_json;
    XmlAdapter m_xml;
    Clients m_clients;
    Statistics m_statistics;
    LogRelay m_logRelay;  // declared after the clients that it sends to
    ChangeRelay m_changeRelay;
    std::mutex m_mutex;  ///< protects the members below
    std::deque<Listener> m_listeners;
    /// By sender.
    std::map<std::string, std::unique_ptr<ClientRequest>> m_statusListeners;
};

#endif
