#ifndef CONNECTION_H
#define CONNECTION_H

#include <string>

#include "Method.h"

/**
 * A conversation with the service, in this process or over the socket of a host.
 *
 * Commands do not know which of the two they use. In both cases calls and answers are objects; only
 * the connection over the socket converts them to text. Use it from one thread at a time.
 */
class Connection {
public:
    /// The result of a call.
    enum class Result {
        Answered,
        NotSent,  ///< the call is longer than a host accepts
        NoAnswer  ///< the host has ended, or answered that this was no valid request
    };

    virtual ~Connection() = default;

    /// Calls @p request and waits for the out parameters of the answer. Messages for listeners that
    /// arrive meanwhile are dropped.
    [[nodiscard]] virtual Result exchange(Method request, Method& answer) = 0;

    /// The same. False if there is no answer.
    [[nodiscard]] bool call(Method request, Method& answer);

    /// Calls the one-way method @p request, and waits until it is done. False as above.
    [[nodiscard]] virtual bool callOneWay(Method request) = 0;

    /// The call that makes the service answer @p message.
    static Method requestOf(std::string message);
};

#endif
