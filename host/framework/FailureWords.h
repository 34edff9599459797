#ifndef FAILUREWORDS_H
#define FAILUREWORDS_H

#include <string>

#include "Log.h"

/// Collects the failures in the log into one short message for people.
///
/// A failed request answers only "failure". The reason is in the log, often in several lines of
/// several layers. A person needs the important one: the first, without repetitions, cut to a line.
class FailureWords {
public:
    /// The highest log level that contains failures: that of SQL and locks.
    static constexpr int HighestLevel = 3;

    /// The message for a call that the host's rules do not allow. @p rights are the missing rights,
    /// with their schema.
    static FailureWords ofRefusal(const std::string& rights);

    /// Adds that a reset has closed the database, unless there is another reason.
    void setClosed();

    /// Adds the message of @p entry. Repeated messages are added once, entries of other levels are
    /// ignored.
    void add(const Log::Entry& entry);

    /// The messages, joined by semicolons.
    const std::string& text() const { return m_text; }

    /// Whether the service logged a failure itself. An error of SQLite alone may be expected, such
    /// as a missing table that the service creates next.
    bool hasFailed() const { return m_hasFailed; }

    /// Whether this is what ofRefusal() returned, here or in the host.
    bool isRefusal() const;

    /// Advice against the failure that @p text describes; empty if no advice is known.
    static std::string adviceFor(const std::string& text);

private:
    std::string m_text;
    bool m_hasFailed = false;
};

#endif
