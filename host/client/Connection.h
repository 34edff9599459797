#ifndef CONNECTION_H
#define CONNECTION_H

#include <string>

#include "Method.h"

/**
 * A conversation with the service, in this process or over the socket of a host.
 *
 * Commands do not know which of both they have. Calls and answers are objects on either way; only
 * the connection over the socket writes and reads text. One thread at a time.
 */
class Connection {
public:
    /// What became of a call.
    enum class Result {
        Answered,
        NotSent,  ///< the call is longer than a host takes
        NoAnswer  ///< the host is gone, or said that this was no request
    };

    virtual ~Connection() = default;

    /// Calls @p request and waits for the out parameters of the answer; what a listener hears
    /// meanwhile is dropped.
    [[nodiscard]] virtual Result exchange(Method request, Method& answer) = 0;

    /// The same. False when there is no answer.
    [[nodiscard]] bool call(Method request, Method& answer);

    /// Calls the one-way method @p request, and waits until it is done. False as above.
    [[nodiscard]] virtual bool callOneWay(Method request) = 0;

    /// The call that has the service answer @p message.
    static Method requestOf(std::string message);
};

#endif
