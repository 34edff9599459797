#ifndef LOGEAR_H
#define LOGEAR_H

#include <atomic>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

#include "framework/FailureWords.h"

/// Collects reasons of failures from the log of this process, as long as it lives. Standard error
/// gets the same lines as before, except those of the start, which appear only if DAS_LOG is set,
/// and one line when a statement has waited for another process without success: a command may
/// have many such statements before its own message.
///
/// Meanwhile the log level becomes that of failures, because the service does not format
/// entries above the level. One object at a time, because the log has one sink.
class LogEar {
public:
    /// Begins to collect. During the start nothing is written if DAS_LOG is unset.
    LogEar();
    ~LogEar();
    LogEar(const LogEar&) = delete;
    LogEar& operator=(const LogEar&) = delete;

    /// From now on @p text is written in place of @p path in entries: those of a service on a copy
    /// name the original. To be called before another thread logs.
    void showAs(const std::string& path, const std::string& text) {
        m_shownAs.emplace_back(path, text);
    }

    /// The failures since the last call. Any thread may log meanwhile.
    FailureWords take();

    /// From now on entries up to the level of the log are written again.
    void startIsOver() { m_isStarting = false; }

private:
    const int m_shownLevel;  ///< highest level that is written to standard error
    std::atomic<bool> m_isStarting;
    std::vector<std::pair<std::string, std::string>> m_shownAs;
    bool m_hasNamedHolder = false;  ///< under the log's lock
    std::mutex m_mutex;
    FailureWords m_heard;
};

#endif
