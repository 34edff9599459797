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
 * The clients that are connected, by names that the service can carry.
 *
 * The service knows a listener by a name alone and may use it long after the client has left. So
 * the host keeps names and weak pointers here, and a name is never given twice. Any thread may ask.
 */
class Clients {
public:
    /// The client of that name; null when it has gone.
    std::shared_ptr<Client> find(const std::string& name) const;

    /// All of them, held until the caller drops the result.
    std::vector<std::shared_ptr<Client>> all() const;

private:
    friend class Client;
    std::string add(Client& client);
    /// Called by the client's destructor: find() returns null from then on, and before.
    void remove(const std::string& name);

    mutable std::mutex m_mutex;
    unsigned long m_last = 0;
    std::map<std::string, Client*> m_clients;  // not owned; a client takes itself out
};

/**
 * The other end of one conversation: a connection at the socket, the standard streams, or this
 * process.
 *
 * To be held by std::shared_ptr. Handlers hold the client while its message is in work, so that the
 * answer has a place to go; listeners hold it weakly, so that they do not keep it.
 */
class Client : public std::enable_shared_from_this<Client> {
public:
    /// Enters the client into @p clients, which must outlive it, under a name of its own.
    explicit Client(Clients& clients) : m_clients(clients), m_name(clients.add(*this)) {}
    virtual ~Client() { m_clients.remove(m_name); }
    Client(const Client&) = delete;
    Client& operator=(const Client&) = delete;

    const std::string& name() const { return m_name; }

    /// Sends @p line with a line feed after it. Any thread may call; what is sent to a client that
    /// has gone is dropped.
    virtual void sendLine(std::string line) = 0;

    /// From now on the changes of @p view wait for the client, in place of those of its last view;
    /// what has come of these before is sent. Any thread may call.
    void hearChanges(std::shared_ptr<ChangeView> view);

    /// Sends the changes that wait, if any. Waits for nothing. Called by the relay of the changes.
    virtual void sendChanges();

    /// What the client may do; null where there are no rules.
    virtual const ClientRights* rights() const { return nullptr; }

    /// The user at the other end; the highest number where that is not known.
    virtual uid_t user() const { return static_cast<uid_t>(-1); }

    /// The longest answer that this client can be sent, without its line feed.
    virtual std::size_t longestAnswer() const { return std::string::npos; }

    /// The host ends, or has no answer: takes no more messages, and leaves once the last answer is
    /// sent.
    virtual void end() {}

    /// What the service logged of failures for the last message. For whoever handles messages,
    /// which come one after the other.
    FailureWords& lastFailures() { return m_lastFailures; }

protected:
    /// The lines of the changes that wait, with line feeds, which wait no longer. A client that
    /// listens sends them before each line that could show one of them.
    std::string takeChanges();

    /// The lines that stand for any number of changes.
    std::string standInOfChanges() const;

private:
    Clients& m_clients;
    const std::string m_name;
    FailureWords m_lastFailures;
    mutable std::mutex m_changesMutex;  ///< of what follows; only that of the view comes after it
    std::string m_earlierChanges;       ///< of the view before
    ChangePlace m_changes;
};

/// Whether @p one is of the client @p other. By owner: to hold a client for a moment could end it
/// under a lock that its end needs.
inline bool isSame(const std::weak_ptr<Client>& one, const std::shared_ptr<Client>& other) {
    return !one.owner_before(other) && !other.owner_before(one);
}

/// What @p adapter writes for @p method: the line that a listener is sent.
std::string lineOf(const Method& method, ProtocolAdapter& adapter);

#endif
