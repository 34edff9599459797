#include "ProgressLine.h"

#include <sys/ioctl.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <iostream>

#include "TerminalText.h"

namespace {

constexpr long UsualDelay = 1000;
constexpr std::size_t UsualColumns = 80;

std::chrono::milliseconds delay() {
    const char* const text = std::getenv("DAS_PROGRESS_AFTER");
    return std::chrono::milliseconds(text == nullptr ? UsualDelay : std::strtol(text, nullptr, 10));
}

/// One less than the columns of the terminal: the last one would begin the next line.
std::size_t columns() {
    winsize size{};
    const bool isKnown = ioctl(STDERR_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 1;
    return (isKnown ? size.ws_col : UsualColumns) - 1;
}

}  // namespace

ProgressLine::ProgressLine() : m_delay(delay()) {
    if (isatty(STDERR_FILENO) != 0) {
        Progress::setSink([this](const Progress::Report& report) { show(report); });
    }
}

ProgressLine::~ProgressLine() {
    Progress::setSink({});
    draw("");
}

void ProgressLine::show(const Progress::Report& report) {
    const auto now = Clock::now();
    if (!m_isAtWork) {
        m_isAtWork = true;
        m_begin = now;
    }
    if (report.done >= report.total) {
        m_isAtWork = false;
        draw("");
    } else if (now - m_begin >= m_delay) {
        const std::string rows =
            report.rows > 0 ? ", " + std::to_string(report.rows) + " rows" : std::string();
        draw(report.step + rows + ", " + std::to_string(report.done * 100 / report.total) + " %");
    }
}

void ProgressLine::draw(const std::string& text) {
    const std::string shown = TerminalText::cut(text, columns());
    if (shown == m_drawn) {
        return;
    }
    const std::size_t before = TerminalText::width(m_drawn);
    const std::size_t rest = before - std::min(before, TerminalText::width(shown));
    std::cerr << "\r" + shown + std::string(rest, ' ') + (shown.empty() ? "\r" : "") << std::flush;
    m_drawn = shown;
}
