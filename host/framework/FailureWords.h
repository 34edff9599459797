#ifndef FAILUREWORDS_H
#define FAILUREWORDS_H

#include <string>

#include "Log.h"

/// What the log says of failures, gathered into one short text for people.
///
/// A failed request answers only "failure". The reason is in the log, often in several lines of
/// several layers, and a person needs the one that matters: the first, without repeats, cut to a
/// line.
class FailureWords {
public:
    /// The highest level that has failures: those of SQL and locks.
    static constexpr int HighestLevel = 3;

    /// The words for a call that the rules of the host do not allow; @p rights are those that are
    /// missing, with their schema.
    static FailureWords ofRefusal(const std::string& rights);

    /// Says that a reset has closed the database, unless a failure has another reason.
    void setClosed();

    /// Adds what @p entry says; repeated words are added once, and other levels not at all.
    void add(const Log::Entry& entry);

    /// The messages, joined by semicolons.
    const std::string& text() const { return m_text; }

    /// Whether the service logged a failure itself. An error of SQLite alone may be expected, such
    /// as a missing table, which the service makes next.
    bool hasFailed() const { return m_hasFailed; }

    /// Whether this is what ofRefusal() returned, here or in the host.
    bool isRefusal() const;

    /// What helps against the failure that @p text describes; empty where nothing is known to.
    static std::string adviceFor(const std::string& text);

private:
    std::string m_text;
    bool m_hasFailed = false;
};

#endif
