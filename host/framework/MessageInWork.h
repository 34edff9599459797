#ifndef MESSAGEINWORK_H
#define MESSAGEINWORK_H

#include <chrono>
#include <mutex>
#include <optional>
#include <string>

#include "Method.h"
#include "ProtocolAdapter.h"

class Client;

/// Whether an out parameter of an answer says that the call failed.
bool saysFailure(const Parameter& parameter);

/// A message that was read, on its way to the service and back: hands over its method, and takes
/// the reply. So no message is there as text a second time.
class MessageInWork : public ProtocolAdapter {
public:
    /// An answer above this is large: one of them at a time is built.
    static constexpr std::size_t LargeAnswer = 1024 * 1024;

    bool decode(std::istream& /*stream*/, Method& method) override;

    /// The name of the protocol that the service sees.
    virtual const std::string& protocol() const;

    /// Waits until no other large answer is in work; the turn ends with this object.
    virtual void takeTurn() {}

    /// The reply is complete: sends it, if it is to be sent.
    virtual void sendAnswer() {}

    const std::chrono::steady_clock::time_point begin = std::chrono::steady_clock::now();
    Method request;
    bool isRead = true;
    bool hasFailed = false;  ///< the reply says so
};

/// A call of this process: the reply is kept as it is.
class LocalMessage : public MessageInWork {
public:
    void encode(const Method& reply, std::ostream& /*stream*/) override { answer = reply; }

    std::optional<Method> answer;
};

/// A message that came as a line: the reply becomes a line of the same protocol.
class LineMessage : public MessageInWork {
public:
    /// @p answers takes turns for large answers.
    LineMessage(Client& client, std::mutex& answers)
        : m_client(client), m_answers(answers, std::defer_lock) {}

    void encode(const Method& reply, std::ostream& /*stream*/) override;
    void takeTurn() override;
    void sendAnswer() override;

protected:
    /// The line for @p reply; none if it would be longer than @p limit.
    virtual std::optional<std::string> toLine(const Method& reply, std::size_t limit) const = 0;
    virtual bool isAnswered() const { return true; }

private:
    Client& m_client;
    std::unique_lock<std::mutex> m_answers;
    std::optional<std::string> m_line;
};

class JsonMessage : public LineMessage {
public:
    using LineMessage::LineMessage;

    std::optional<std::string> id;  ///< in JSON; without one there is no answer

private:
    std::optional<std::string> toLine(const Method& reply, std::size_t limit) const override;
    bool isAnswered() const override { return id.has_value(); }
};

class XmlMessage : public LineMessage {
public:
    using LineMessage::LineMessage;

    const std::string& protocol() const override;

private:
    std::optional<std::string> toLine(const Method& reply, std::size_t limit) const override;
};

#endif
