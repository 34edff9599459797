#ifndef LOGEAR_H
#define LOGEAR_H

#include <atomic>
#include <mutex>

#include "framework/FailureWords.h"

/// Listens to the log of this process for the reasons of failures, as long as it lives. What is
/// written to standard error stays the same, but for the lines of the start, which only
/// those want who have set DAS_LOG.
class LogEar {
public:
    LogEar();
    ~LogEar();
    LogEar(const LogEar&) = delete;
    LogEar& operator=(const LogEar&) = delete;

    /// What failed since the last call.
    FailureWords take();

    /// The start is over.
    void startIsOver() { m_isStarting = false; }

private:
    const int m_shownLevel;  ///< highest level that goes to standard error
    std::atomic<bool> m_isStarting;
    std::mutex m_mutex;
    FailureWords m_heard;
};

#endif
