#ifndef DISPATCHER_H
#define DISPATCHER_H

#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>

class Client;
class Executable;
class HostFramework;
class Invoker;
class InvokerResponse;
class Method;

/// Takes the lines of clients, one message each, to the service, and the replies back. Any thread
/// may call; the lines of one client come one after the other.
class Dispatcher {
public:
    /// What is handed over is not owned and must outlive the dispatcher.
    Dispatcher(Executable& service, Invoker& invoker, HostFramework& framework)
        : m_service(service), m_invoker(invoker), m_framework(framework) {}

    /// Handles the message @p line, given without its line feed, to the end: what is to be answered
    /// has been sent to @p client then. Whatever the line holds, nothing is thrown.
    void handle(std::string_view line, const std::shared_ptr<Client>& client) noexcept;

    /// Answers a message that begins with @p line but can't be read to its end.
    void refuse(std::string_view line, Client& client);

private:
    void handleJson(std::string_view line, const std::shared_ptr<Client>& client);

    /// What the host itself answers; none for what the service is asked.
    std::optional<Method> answerOfHost(const Method& question, const std::string& sender,
                                       const std::shared_ptr<Client>& client);
    void handleXml(std::string_view line, const std::shared_ptr<Client>& client);
    template <typename Message>
    void ask(Message& message, std::unique_ptr<InvokerResponse> response, Client& client);

    Executable& m_service;
    Invoker& m_invoker;
    HostFramework& m_framework;
    std::mutex m_largeAnswers;  ///< held from the moment an answer is large until it is sent
};

#endif
