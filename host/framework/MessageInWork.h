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
 * A parsed message while it is handled: it passes its method to the service and receives the reply.
 *
 * The service's invoker reads and writes messages through a protocol adapter. During one call this
 * object takes the place of that adapter. So a message is not converted to text and parsed again,
 * and an answer of megabytes is not copied.
 */
class MessageInWork : public ProtocolAdapter {
public:
    /// An answer above this size is large; only one large answer is built at a time.
    static constexpr std::size_t LargeAnswer = 1024 * 1024;

    /// Passes the request on; it is empty afterwards. False if the line could not be parsed.
    bool decode(std::istream& /*stream*/, Method& method) override;

    /// The name of the protocol that the service sees.
    virtual const std::string& protocol() const;

    /// Waits until no other large answer is handled. The turn lasts until this object is destroyed.
    virtual void takeTurn() {}

    /// Called when the reply is complete: counts the call, and sends the reply if it is to be sent.
    virtual void sendAnswer() {}

    /// Counts the call, if it was not counted yet. A client that has its answer must find its call
    /// counted, so this is done before the answer is sent.
    void count();

    const Statistics::Clock::time_point begin = Statistics::Clock::now();
    Statistics::Subject subject;  ///< where the call is counted; blank after it was counted
    Method request;               ///< as it was parsed
    bool isRead = true;
    bool hasFailed = false;  ///< whether the reply reports a failure
};

/// A call from this process: the reply is stored as an object, and the caller takes it. Nothing is
/// converted to text, so a string of megabytes is only moved.
class LocalMessage : public MessageInWork {
public:
    void encode(const Method& reply, std::ostream& /*stream*/) override { answer = reply; }

    std::optional<Method> answer;  ///< no value for a one-way or unknown method
};

/**
 * A message that arrived as a line: the reply becomes a line of the same protocol.
 *
 * Answers above LargeAnswer take turns: only one is built at a time, because several together would
 * exceed the host's memory. If a reply is longer than its client accepts, a failure is sent
 * instead.
 */
class LineMessage : public MessageInWork {
public:
    /// @p answers takes turns for large answers.
    LineMessage(Client& client, std::mutex& answers)
        : m_client(client), m_answers(answers, std::defer_lock) {}

    /// Builds the line of the answer.
    void encode(const Method& reply, std::ostream& /*stream*/) override;
    void takeTurn() override;
    void sendAnswer() override;

protected:
    /// The line for @p reply; no value if it would be longer than @p limit.
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

    std::optional<std::string> id;  ///< in JSON; without an id there is no answer

private:
    std::optional<std::string> toLine(const Method& reply, std::size_t limit) const override;
    bool isAnswered() const override { return id.has_value(); }
};

/// A message in XML. It has no id, so answers are sent in the order of the calls.
class XmlMessage : public LineMessage {
public:
    using LineMessage::LineMessage;

    const std::string& protocol() const override;

private:
    std::optional<std::string> toLine(const Method& reply, std::size_t limit) const override;
};

#endif
