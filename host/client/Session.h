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

/// A conversation with the service for people's commands: with the one of this process, or with a
/// running host.
///
/// More than a connection: failures come with the reasons that the service has logged, progress is
/// shown while an answer takes long, and everything that goes wrong is reported before the call
/// returns.
class Session {
public:
    enum class Manner {
        ForPeople,  ///< the reasons of failures are collected, and the start is silent
        Plain       ///< log and printed lines of the service stay as they are
    };

    /**
     * Starts the service, or connects to the host that @p options name.
     *
     * @param status takes the exit status when the result is null; what went wrong has been
     * reported on standard error then
     */
    static std::unique_ptr<Session> open(const HostOptions& options, int& status,
                                         Manner manner = Manner::ForPeople);

    virtual ~Session() = default;

    /// Has @p method carried out. False when no host is left to answer, which has been reported.
    /// An answer that says that the call failed is an answer too: the caller reports it.
    [[nodiscard]] bool call(const Method& method, Method& answer);

    /// Has the service answer @p request; none when no host is left to answer, or when the request
    /// can't be sent, both of which have been reported.
    std::optional<std::string> ask(const std::string& request);

    /// Sends @p request, which is one of @p what ("read PhoneBook"). As ask(), and a failure is
    /// reported as reportFailure() does, without a result.
    std::optional<std::string> askFor(const std::string& what, const std::string& request,
                                      const std::string& advice = "");

    /// Reports that @p what failed, with the reasons that are known and what helps against them;
    /// @p advice helps where no reason is known. Returns the exit status.
    int reportFailure(const std::string& what, const std::string& advice = "");

    /// Reports that the host's access rules do not allow @p what, which was the last call, with the
    /// right that is missing. False, without a report, if they do.
    bool reportRefusal(const std::string& what);

    /// What the service has logged of failures in the last call.
    virtual FailureWords takeFailures() = 0;

    /// Whether the service is in this process, and the telephone's files are those of this process.
    virtual bool isLocal() const = 0;

    /// Where answers are written. Owned by the session.
    virtual Output& output() = 0;

    /// The conversation itself, for commands that need more of it.
    virtual Connection& connection() = 0;

protected:
    /// What is logged from now on is of the next call.
    virtual void forgetFailures() = 0;

    /// Where to look when nothing is logged.
    virtual std::string placeOfLog() const = 0;
};

#endif
