#ifndef DISPATCHER_H
#define DISPATCHER_H

#include <atomic>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "Method.h"
#include "framework/AccessLog.h"
#include "framework/AccessRules.h"

class AccessCheck;
class Client;
class Executable;
class HostFramework;
class Invoker;
class MessageInWork;
class Statistics;

/**
 * Passes messages of clients to the service or to the host's own methods, and replies back to the
 * clients.
 *
 * A message goes through four steps: it is parsed into a Method; the rights of its client are
 * checked; the host answers it or passes it to the invoker; it is counted. In every case a client
 * that waits gets an answer or is disconnected, and the next message is served.
 *
 * Any thread may call; the messages of one client must come one after the other.
 */
class Dispatcher {
public:
    /// The arguments are not owned and must outlive the dispatcher.
    Dispatcher(Executable& service, Invoker& invoker, HostFramework& framework)
        : m_service(service), m_invoker(invoker), m_framework(framework) {}

    /// Handles the message @p line, which has no line feed. When this returns, the answer, if any,
    /// has been sent to @p client. It never throws, whatever the line contains.
    void handle(std::string_view line, const std::shared_ptr<Client>& client) noexcept;

    /// Makes the call @p request of a client in this process, without converting it to text. No
    /// value if there is no answer: for a one-way method, an unknown one, and after an exception.
    std::optional<Method> call(Method request, const std::shared_ptr<Client>& client) noexcept;

    /// From now on clients may do what @p rules allow them. Call it before there are clients.
    void setRules(AccessRules rules) { m_rules = std::move(rules); }

    /// What the client of @p peer may do; no value if there are no rules.
    std::optional<ClientRights> rightsOf(const Peer& peer) const;

    /// The figures about the messages so far.
    Statistics& statistics();

    /// Answers a message that begins with @p line but can't be read completely.
    void refuse(std::string_view line, Client& client);

private:
    /// Parse a line of their protocol and handle the message.
    void handleJson(std::string_view line, const std::shared_ptr<Client>& client);
    void handleXml(std::string_view line, const std::shared_ptr<Client>& client);
    /// Checks the rights, then makes the call and counts it.
    void carryOut(MessageInWork& message, const std::shared_ptr<Client>& client);
    /// The same for an allowed message.
    void carryOutAllowed(MessageInWork& message, const std::shared_ptr<Client>& client);
    /// Answers a call that the rules do not allow, and logs it.
    void refuseCall(MessageInWork& message, const AccessCheck& check, Client& client);
    std::optional<Method> answerOfHost(const MessageInWork& message,
                                       const std::shared_ptr<Client>& client);
    /// Passes the message to the service. When this returns, the answer was sent.
    void ask(MessageInWork& message, Client& client);

    Executable& m_service;
    Invoker& m_invoker;
    HostFramework& m_framework;
    std::optional<AccessRules> m_rules;
    AccessLog m_accessLog;
    std::atomic<bool> m_isDatabaseClosed = false;  ///< true after a reset, until the host is
                                                   ///< restarted
    std::mutex m_largeAnswers;  ///< held from the moment when an answer is known to be large until
                                ///< it is sent
};

#endif
