#ifndef LOG_H
#define LOG_H

#include <functional>
#include <string>

/**
 * The log of the telephone.
 *
 * Levels in use: 2 failures, 3 SQL and lock errors, 5 information and SQL text, 6 detail. An entry
 * is written when its level is not above the level that is set. Any thread may write; an entry is
 * one line and is written whole. Up to level 3 a message is cut at 8 KiB, with a note of how many
 * bytes are left out.
 */

/// Whether an entry of @p component at @p level would be written. Call it before arguments that are
/// costly to build.
bool loggingOnAppUni(const char* component, int level);

/**
 * Writes one entry, if its level is not above the level that is set.
 *
 * @param component  who writes, such as "DataAccessService"
 * @param sourceFile source unit, such as "./src/DatabaseAdapter"; the path of a ".cpp" file of the
 *                   service stands for its unit, so "src/database/DatabaseAdapter_Rows.cpp" as well
 * @param line       line in that unit
 * @param format     printf format; line feeds at the message's end are dropped
 */
void logAppUni(const char* component, const char* sourceFile, int level, int line,
               const char* format, ...) __attribute__((format(printf, 5, 6)));

// The component and the file name of a file's entries. A file whose entries have other names in the
// log defines these before its first include.
#ifndef DAS_LOG_COMPONENT
#define DAS_LOG_COMPONENT "DataAccessService"
#endif
#ifndef DAS_LOG_SOURCE
#define DAS_LOG_SOURCE __FILE__
#endif

/// Writes a log entry. Its arguments are evaluated only if the entry is written.
#define DAS_LOG(level, ...)                                                               \
    do {                                                                                  \
        if (loggingOnAppUni(DAS_LOG_COMPONENT, (level))) {                                \
            logAppUni(DAS_LOG_COMPONENT, DAS_LOG_SOURCE, (level), __LINE__, __VA_ARGS__); \
        }                                                                                 \
    } while (false)

namespace Log {

/// One entry in the form that a sink gets.
struct Entry {
    int level;
    std::string component;
    std::string source;
    int line;
    std::string message;  ///< as it was formatted, control characters included
};

using Sink = std::function<void(const Entry&)>;

/// The highest level that is written: "DAS_LOG" of the environment, or 2 if that is unset.
int level();
void setLevel(int level);

/**
 * Sends all entries to @p sink instead of standard error; an empty sink restores standard error.
 * The sink is called under the log's lock, so it must not log.
 */
void setSink(Sink sink);

/// Writes @p entry to standard error, like an entry without a sink. Only for sinks, which are
/// called under the log's lock. If standard error is the system's journal, as "JOURNAL_STREAM" of
/// the environment shows, "<N>" with the syslog priority comes first.
void write(const Entry& entry);

/// The line of an entry: "LEVEL COMPONENT SOURCE:LINE MESSAGE", control characters made visible.
std::string toLine(const Entry& entry);

}  // namespace Log

#endif
