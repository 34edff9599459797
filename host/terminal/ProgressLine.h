#ifndef PROGRESSLINE_H
#define PROGRESSLINE_H

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <string>
#include <thread>

#include "Progress.h"

/**
 * Shows on standard error how far long work has come, in one line, as long as it lives: the upgrade
 * at a start, and the import of a data file. Work of less than a second shows nothing, and so does
 * all work when standard error is no terminal. "DAS_PROGRESS_AFTER" of the environment is another
 * time, in milliseconds.
 */
class ProgressLine {
public:
    ProgressLine();
    /// Takes the line away, if it is there.
    ~ProgressLine();
    ProgressLine(const ProgressLine&) = delete;
    ProgressLine& operator=(const ProgressLine&) = delete;

private:
    using Clock = std::chrono::steady_clock;

    void take(const Progress::Report& report);
    void tick();
    void draw(const std::string& text);

    const std::chrono::milliseconds m_delay;
    std::mutex m_mutex;  ///< of what follows
    std::condition_variable m_changed;
    Clock::time_point m_begin;  ///< of the work that is shown
    bool m_isAtWork = false;
    bool m_isEnding = false;
    std::string m_text;    ///< what is to be shown of the work
    std::string m_drawn;   ///< what stands on the line; empty for nothing
    std::thread m_ticker;  ///< draws also while a step takes long; none without a terminal
};

#endif
