#ifndef CONNECTION_H
#define CONNECTION_H

#include <string>

class Method;

/// A conversation with a host, seen from the client: lines out, lines in.
class Connection {
public:
    virtual ~Connection() = default;

    /// Sends @p line with a line feed behind it. False when the host is gone.
    [[nodiscard]] virtual bool sendLine(const std::string& line) = 0;

    /// Waits for the next line. False when the host is gone.
    [[nodiscard]] virtual bool readLine(std::string& line) = 0;

    /// Calls @p request and waits for the answer's out parameters; what a listener hears meanwhile
    /// is dropped. False when the host is gone, or says that this was no request.
    [[nodiscard]] bool call(const Method& request, Method& answer);

    /// The same with the line of a call, as toCall() gives it.
    [[nodiscard]] bool call(const std::string& line, Method& answer);
    static std::string toCall(const Method& request);

    /// The call that has the service answer @p message.
    static Method requestOf(const std::string& message);

    /// Calls the one-way method @p request, and waits until it is done. False as above.
    [[nodiscard]] bool callOneWay(const Method& request);
};

#endif
