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
 *
 * The thread that works reports its steps, and a thread of this object draws between them: one step
 * of an upgrade may take longer than a person waits without a sign.
 */
class ProgressLine {
public:
    /// Takes the reports of Progress from here on; of two objects the later one has them.
    ProgressLine();
    /// Takes the line away, if it is there.
    ~ProgressLine();
    ProgressLine(const ProgressLine&) = delete;
    ProgressLine& operator=(const ProgressLine&) = delete;

private:
    // Reports come from any thread, and the clock must not jump.
    using Clock = std::chrono::steady_clock;

    /// A report of the thread that works; ends the line when all is done.
    void take(const Progress::Report& report);
    /// Draws until the object ends.
    void tick();
    /// Replaces what stands on the line; with the mutex held, or when no thread is left.
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
