// The line is redrawn after a carriage return, which every terminal supports.

#include "terminal/ProgressLine.h"

#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <iostream>

#include "terminal/Output.h"
#include "terminal/TerminalText.h"

namespace {

constexpr long UsualDelay = 1000;
constexpr std::chrono::milliseconds TimeBetweenTicks(200);

std::chrono::milliseconds delay() {
    const char* const text = std::getenv("DAS_PROGRESS_AFTER");
    return std::chrono::milliseconds(text == nullptr ? UsualDelay : std::strtol(text, nullptr, 10));
}

/// "import, 300 rows, 20 %". Parts that are not known yet are left out.
std::string textOf(const Progress::Report& report) {
    std::string text = report.step;
    text += report.rows > 0 ? ", " + std::to_string(report.rows) + " rows" : "";
    text += report.done > 0 ? ", " + std::to_string(report.done * 100 / report.total) + " %" : "";
    return text;
}

}  // namespace

ProgressLine::ProgressLine() : m_delay(delay()) {
    if (isatty(STDERR_FILENO) != 0) {
        Progress::setSink([this](const Progress::Report& report) { take(report); });
        m_ticker = std::thread([this] { tick(); });
    }
}

ProgressLine::~ProgressLine() {
    if (!m_ticker.joinable()) {
        return;
    }
    Progress::setSink({});
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_isEnding = true;
    }
    m_changed.notify_one();
    m_ticker.join();
    draw("");
}

void ProgressLine::take(const Progress::Report& report) {
    const std::lock_guard<std::mutex> lock(m_mutex);
    const auto now = Clock::now();
    if (report.done >= report.total) {
        m_isAtWork = false;
        draw("");
        return;
    }
    // A report begins the work only if no work is under way, because its steps are reported one by
    // one.
    m_begin = m_isAtWork ? m_begin : now;
    m_isAtWork = true;
    m_text = textOf(report);
    if (now - m_begin >= m_delay) {
        draw(m_text);
    }
}

void ProgressLine::tick() {
    std::unique_lock<std::mutex> lock(m_mutex);
    while (!m_changed.wait_for(lock, TimeBetweenTicks, [this] { return m_isEnding; })) {
        if (m_isAtWork && Clock::now() - m_begin >= m_delay) {
            draw(m_text);
        }
    }
}

void ProgressLine::draw(const std::string& text) {
    // Text in the last column would move the cursor to the next line.
    const std::string shown = TerminalText::cut(text, Output::columnsOf(STDERR_FILENO) - 1);
    if (shown == m_drawn) {
        return;
    }
    const std::size_t before = TerminalText::width(m_drawn);
    const std::size_t rest = before - std::min(before, TerminalText::width(shown));
    std::cerr << "\r" + shown + std::string(rest, ' ') + (shown.empty() ? "\r" : "") << std::flush;
    m_drawn = shown;
}
