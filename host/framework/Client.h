#ifndef CLIENT_H
#define CLIENT_H

#include <sys/types.h>

#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "framework/ChangeView.h"
#include "framework/FailureWords.h"

class Client;
class ClientRights;
class Method;
class ProtocolAdapter;

/**
 * The connected clients, by names that the service can store.
 *
 * The service knows a listener only by its name, and may use it long after the client has
 * disconnected. So the host keeps names and weak pointers here, and never uses a name twice. Any
 * thread may call.
 */
class Clients {
public:
    /// The client with that name; null if it has disconnected.
    std::shared_ptr<Client> find(const std::string& name) const;

    /// All clients, kept alive until the caller drops the result.
    std::vector<std::shared_ptr<Client>> all() const;

private:
    friend class Client;
    std::string add(Client& client);
    /// Called by the client's destructor. find() returns null for the name from then on, and
    /// already before.
    void remove(const std::string& name);

    mutable std::mutex m_mutex;
    unsigned long m_last = 0;
    std::map<std::string, Client*> m_clients;  // not owned; a client removes itself
};

/**
 * The other end of one conversation: a connection at the socket, the standard streams, or this
 * process.
 *
 * It must be held by std::shared_ptr. Handlers hold the client while they handle its message, so
 * that the answer can be sent. Listeners hold it weakly, so that they do not keep it alive.
 */
class Client : public std::enable_shared_from_this<Client> {
public:
    /// Adds the client to @p clients, which must outlive it, under a unique name.
    explicit Client(Clients& clients) : m_clients(clients), m_name(clients.add(*this)) {}
    virtual ~Client() { m_clients.remove(m_name); }
    Client(const Client&) = delete;
    Client& operator=(const Client&) = delete;

    const std::string& name() const { return m_name; }

    /// Sends @p line with a line feed after it. Any thread may call. If the client has
    /// disconnected, the line is dropped.
    virtual void sendLine(std::string line) = 0;

    /// From now on the client gets the changes of @p view instead of those of its last view;
    /// waiting changes of that one are still sent. Any thread may call.
    void hearChanges(std::shared_ptr<ChangeView> view);

    /// Sends the waiting changes, if any. Never waits. Called by the relay of the changes.
    virtual void sendChanges();

    /// What the client may do; null if there are no access rules.
    virtual const ClientRights* rights() const { return nullptr; }

    /// The user at the other end; the highest number if it is not known.
    virtual uid_t user() const { return static_cast<uid_t>(-1); }

    /// The longest answer that can be sent to this client, without its line feed.
    virtual std::size_t longestAnswer() const { return std::string::npos; }

    /// The host is about to end, or has no answer: the client takes no more messages, and
    /// disconnects after the last answer.
    virtual void end() {}

    /// The failures that the service logged during the last message. Only for the handlers of
    /// messages, which run one after the other.
    FailureWords& lastFailures() { return m_lastFailures; }

protected:
    /// Returns the waiting changes as lines with line feeds, and removes them from the queue. A
    /// client that listens sends them before each line that could show one of them.
    std::string takeChanges();

    /// The lines that stand for any number of changes.
    std::string standInOfChanges() const;

private:
    Clients& m_clients;
    const std::string m_name;
    FailureWords m_lastFailures;
    mutable std::mutex m_changesMutex;  ///< protects the members below; only the mutex of the view
                                        ///< comes after it
    std::string m_earlierChanges;       ///< changes of the previous view
    ChangePlace m_changes;
};

/// Whether @p one refers to the client @p other. Compared by owner: a temporary reference could be
/// the last one and destroy the client under a lock that its destructor needs.
inline bool isSame(const std::weak_ptr<Client>& one, const std::shared_ptr<Client>& other) {
    return !one.owner_before(other) && !other.owner_before(one);
}

/// What @p adapter writes for @p method: the line for a listener.
std::string lineOf(const Method& method, ProtocolAdapter& adapter);

#endif
