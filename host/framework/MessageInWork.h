#ifndef MESSAGEINWORK_H
#define MESSAGEINWORK_H

#include <mutex>
#include <optional>
#include <string>

#include "Method.h"
#include "ProtocolAdapter.h"
#include "framework/Statistics.h"

class Client;

/// Whether an out parameter of an answer says that the call failed.
bool saysFailure(const Parameter& parameter);

/**
 * A message that was read, on its way to the service and to its client: hands over its method, and
 * takes the reply.
 *
 * The invoker of the service reads and writes messages through a protocol adapter. This one stands
 * in for the adapter of the protocol for the time of one call, so that a message is not written as
 * text to be parsed again, and an answer of megabytes is not copied.
 */
class MessageInWork : public ProtocolAdapter {
public:
    /// An answer above this is large: one of them at a time is built.
    static constexpr std::size_t LargeAnswer = 1024 * 1024;

    /// Hands over the request, which is empty afterwards. False if the line could not be read.
    bool decode(std::istream& /*stream*/, Method& method) override;

    /// The name of the protocol that the service sees.
    virtual const std::string& protocol() const;

    /// Waits until no other large answer is in work; the turn ends with this object.
    virtual void takeTurn() {}

    /// The reply is complete: counts the call, and sends the reply, if it is to be sent.
    virtual void sendAnswer() {}

    /// Counts the call, if it was not counted before. Whoever has an answer finds its call counted,
    /// so this comes before the answer is on its way.
    void count();

    const Statistics::Clock::time_point begin = Statistics::Clock::now();
    Statistics::Subject subject;  ///< where it counts; blank from then on
    Method request;               ///< as it was read
    bool isRead = true;
    bool hasFailed = false;  ///< the reply says so
};

/// A call of this process: the reply is kept as it is, and the caller takes it.
/// Nothing is written and nothing parsed, so a text of megabytes is only moved.
class LocalMessage : public MessageInWork {
public:
    void encode(const Method& reply, std::ostream& /*stream*/) override { answer = reply; }

    std::optional<Method> answer;  ///< none for a one-way or unknown method
};

/**
 * A message that came as a line: the reply becomes a line of the same protocol.
 *
 * Large answers take turns: of those above LargeAnswer one at a time is built, since several
 * together would exceed the memory of the host. A reply that would be longer than its client takes
 * is replaced by a failure.
 */
class LineMessage : public MessageInWork {
public:
    /// @p answers takes turns for large answers.
    LineMessage(Client& client, std::mutex& answers)
        : m_client(client), m_answers(answers, std::defer_lock) {}

    /// Makes the line of the answer.
    void encode(const Method& reply, std::ostream& /*stream*/) override;
    void takeTurn() override;
    void sendAnswer() override;

protected:
    /// The line for @p reply; none if it would be longer than @p limit.
    virtual std::optional<std::string> toLine(const Method& reply, std::size_t limit) const = 0;
    /// Whether the client expects an answer.
    virtual bool isAnswered() const { return true; }

private:
    Client& m_client;
    std::unique_lock<std::mutex> m_answers;
    std::optional<std::string> m_line;
};

/// A message of the typed protocol, JSON-RPC.
class JsonMessage : public LineMessage {
public:
    using LineMessage::LineMessage;

    std::optional<std::string> id;  ///< in JSON; without one there is no answer

private:
    std::optional<std::string> toLine(const Method& reply, std::size_t limit) const override;
    bool isAnswered() const override { return id.has_value(); }
};

/// A message in XML. It has no id, so the answers come in the order of the calls.
class XmlMessage : public LineMessage {
public:
    using LineMessage::LineMessage;

    const std::string& protocol() const override;

private:
    std::optional<std::string> toLine(const Method& reply, std::size_t limit) const override;
};

#endif
