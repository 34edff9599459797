#ifndef PROGRESSLINE_H
#define PROGRESSLINE_H

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <string>
#include <thread>

#include "Progress.h"

/**
 * Shows the progress of long work in one line on standard error, as long as it lives: the upgrade
 * at a start, and the import of a data file. Nothing is shown for work of less than a second, or if
 * standard error is not a terminal. "DAS_PROGRESS_AFTER" of the environment sets another time, in
 * milliseconds.
 *
 * The thread that works reports its steps, and a thread of this object draws between them, because
 * one step of an upgrade may take longer than a person waits without a sign.
 */
class ProgressLine {
public:
    /// Receives the reports of Progress from here on; of two objects, the later one does.
    ProgressLine();
    /// Erases the line, if it is shown.
    ~ProgressLine();
    ProgressLine(const ProgressLine&) = delete;
    ProgressLine& operator=(const ProgressLine&) = delete;

private:
    // Reports come from any thread, and the clock must never jump.
    using Clock = std::chrono::steady_clock;

    /// Handles a report of the thread that works; erases the line when all is done.
    void take(const Progress::Report& report);
    /// Draws until the object ends.
    void tick();
    /// Replaces the contents of the line. Call with the mutex held, or when no thread is left.
    void draw(const std::string& text);

    const std::chrono::milliseconds m_delay;
    std::mutex m_mutex;  ///< protects the members below
    std::condition_variable m_changed;
    Clock::time_point m_begin;  ///< of the work that is shown
    bool m_isAtWork = false;
    bool m_isEnding = false;
    std::string m_text;    ///< the text for the current work
    std::string m_drawn;   ///< what the line shows now; empty if nothing
    std::thread m_ticker;  ///< also draws while a step takes long; not started without a terminal
};

#endif
