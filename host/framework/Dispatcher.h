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
 * Takes the messages of clients to the service, or to the host's own methods, and the replies to
 * the clients.
 *
 * A message goes through four steps: it is read once into a Method; the rights of its client are
 * held against it; it is answered by the host or handed to the invoker; it is counted. Whatever
 * happens on the way, a client that waits gets an answer or is closed, and the next message is
 * served.
 *
 * Any thread may call; the messages of one client come one after the other.
 */
class Dispatcher {
public:
    /// What is handed over is not owned and must outlive the dispatcher.
    Dispatcher(Executable& service, Invoker& invoker, HostFramework& framework)
        : m_service(service), m_invoker(invoker), m_framework(framework) {}

    /// Handles the message @p line, given without its line feed, to the end: what is to be answered
    /// has been sent to @p client then. Whatever the line holds, nothing is thrown.
    void handle(std::string_view line, const std::shared_ptr<Client>& client) noexcept;

    /// Carries out @p request of a client in this process; nothing is written as text. None when
    /// there is no answer: to a one-way method, an unknown one, and one that ended with an
    /// exception.
    std::optional<Method> call(Method request, const std::shared_ptr<Client>& client) noexcept;

    /// From now on clients may do what @p rules allow them. To be called before there are any.
    void setRules(AccessRules rules) { m_rules = std::move(rules); }

    /// What the client of @p peer may do; none where there are no rules.
    std::optional<ClientRights> rightsOf(const Peer& peer) const;

    /// What was counted of the messages so far.
    Statistics& statistics();

    /// Answers a message that begins with @p line but can't be read to its end.
    void refuse(std::string_view line, Client& client);

private:
    /// Read a line of their protocol and carry it out.
    void handleJson(std::string_view line, const std::shared_ptr<Client>& client);
    void handleXml(std::string_view line, const std::shared_ptr<Client>& client);
    /// Checks the rights, carries the message out and counts it.
    void carryOut(MessageInWork& message, const std::shared_ptr<Client>& client);
    /// The same for a message that is allowed.
    void carryOutAllowed(MessageInWork& message, const std::shared_ptr<Client>& client);
    /// Answers a call that the rules do not allow, and logs it.
    void refuseCall(MessageInWork& message, const AccessCheck& check, Client& client);
    std::optional<Method> answerOfHost(const MessageInWork& message,
                                       const std::shared_ptr<Client>& client);
    /// Hands the message to the service. The answer is sent by then.
    void ask(MessageInWork& message, Client& client);

    Executable& m_service;
    Invoker& m_invoker;
    HostFramework& m_framework;
    std::optional<AccessRules> m_rules;
    AccessLog m_accessLog;
    std::atomic<bool> m_isDatabaseClosed = false;  ///< by a reset, until the host is restarted
    std::mutex m_largeAnswers;  ///< held from the moment an answer is large until it is sent
};

#endif
