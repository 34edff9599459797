#ifndef LOGEAR_H
#define LOGEAR_H

#include <atomic>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

#include "framework/FailureWords.h"

/// Listens to the log of this process for the reasons of failures, as long as it lives. What is
/// written to standard error stays the same, but for the lines of the start, which only
/// those want who have set DAS_LOG, and for a line as soon as a statement has waited for another
/// process without success: a command may have many such statements before its own words.
///
/// The level of the log goes up to that of failures meanwhile, since the service formats no entry
/// that no one wants. One object at a time: the log has one sink.
class LogEar {
public:
    /// Begins to listen; in the start, if DAS_LOG is unset, without writing.
    LogEar();
    ~LogEar();
    LogEar(const LogEar&) = delete;
    LogEar& operator=(const LogEar&) = delete;

    /// From now on @p text is written in place of @p path in entries: those of a service on a copy
    /// name the original. To be called before another thread logs.
    void showAs(const std::string& path, const std::string& text) {
        m_shownAs.emplace_back(path, text);
    }

    /// What failed since the last call.
    /// Any thread may log meanwhile.
    FailureWords take();

    /// From now on entries up to the level of the log are written again.
    void startIsOver() { m_isStarting = false; }

private:
    const int m_shownLevel;  ///< highest level that goes to standard error
    std::atomic<bool> m_isStarting;
    std::vector<std::pair<std::string, std::string>> m_shownAs;
    bool m_hasNamedHolder = false;  ///< under the log's lock
    std::mutex m_mutex;
    FailureWords m_heard;
};

#endif
