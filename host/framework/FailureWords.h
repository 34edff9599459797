#ifndef FAILUREWORDS_H
#define FAILUREWORDS_H

#include <string>

#include "Log.h"

/// What the log has told of failures, gathered into one short text for people.
class FailureWords {
public:
    /// The highest level that tells of failures: those of SQL and locks stand at it.
    static constexpr int HighestLevel = 3;

    /// Adds what @p entry says; repeated words are added once, and other levels not at all.
    void add(const Log::Entry& entry);

    /// The messages, joined by semicolons.
    const std::string& text() const { return m_text; }

    /// Whether the service called it a failure itself: a word of SQLite alone may be one that it
    /// lives with, such as that of a table that is made next.
    bool hasFailed() const { return m_hasFailed; }

    /// What helps against a failure of which @p text tells; empty where nothing is known to.
    static std::string adviceFor(const std::string& text);

private:
    std::string m_text;
    bool m_hasFailed = false;
};

#endif
