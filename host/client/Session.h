#ifndef SESSION_H
#define SESSION_H

#include <memory>
#include <optional>
#include <string>

#include "framework/FailureWords.h"

class Connection;
class Method;
class Output;
struct HostOptions;

/// A conversation with the service for commands that people use: with a service in this process, or
/// with a running host.
///
/// It does more than a connection: failures come with the reasons that the service has logged,
/// progress is shown while an answer takes long, and every error is reported before the call
/// returns.
class Session {
public:
    enum class Manner {
        ForPeople,  ///< the reasons of failures are collected, and the start prints nothing
        Plain       ///< log and printed lines of the service do not change
    };

    /**
     * Starts the service, or connects to the host that @p options name.
     *
     * @param status receives the exit status if the result is null; the error has then been
     *               reported on standard error
     */
    static std::unique_ptr<Session> open(const HostOptions& options, int& status,
                                         Manner manner = Manner::ForPeople);

    virtual ~Session() = default;

    /// Makes the call @p method. False if no host is left to answer, which has been reported. If
    /// the answer says that the call failed, the result is true, and the caller reports the
    /// failure.
    [[nodiscard]] bool call(const Method& method, Method& answer);

    /// Sends @p request and returns the answer; none if no host is left to answer or if the request
    /// can't be sent. Both have been reported then.
    std::optional<std::string> ask(const std::string& request);

    /// Sends @p request; @p what names it for messages, such as "read PhoneBook". Like ask(), but a
    /// failure is reported as by reportFailure(), and there is no result.
    std::optional<std::string> askFor(const std::string& what, const std::string& request,
                                      const std::string& advice = "");

    /// Reports that @p what failed, with the known reasons and advice against them; @p advice is
    /// used if no reason is known. Returns the exit status.
    int reportFailure(const std::string& what, const std::string& advice = "");

    /// Reports that the host's access rules do not allow @p what, which was the last call, with the
    /// right that is missing. False, without a report, if they do.
    bool reportRefusal(const std::string& what);

    /// The failures that the service has logged during the last call.
    virtual FailureWords takeFailures() = 0;

    /// Whether the service is in this process, so that the telephone's files are also files of this
    /// process.
    virtual bool isLocal() const = 0;

    /// Where answers are written. Owned by the session.
    virtual Output& output() = 0;

    /// The underlying connection, for commands that need more than this class offers.
    virtual Connection& connection() = 0;

protected:
    /// From now on, logged failures belong to the next call.
    virtual void forgetFailures() = 0;

    /// Where to look for a reason if no failure was logged.
    virtual std::string placeOfLog() const = 0;
};

#endif
