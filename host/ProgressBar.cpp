#include "ProgressBar.h"

#include <unistd.h>

#include <algorithm>
#include <iostream>
#include <string>

#include "Progress.h"

ProgressBar::ProgressBar() {
    if (::isatty(STDERR_FILENO) != 0) {
        Progress::setSink([this](std::size_t done, std::size_t total) { show(done, total); });
    }
}

ProgressBar::~ProgressBar() {
    Progress::setSink({});
    if (m_percent != NotDrawn) {
        std::cerr << std::endl;
    }
}

void ProgressBar::show(std::size_t done, std::size_t total) {
    constexpr std::size_t width = 50;
    const std::size_t percent = std::min(done, total) * 100 / total;
    if (percent == m_percent) {
        return;
    }
    m_percent = percent;
    const std::size_t filled = percent * width / 100;
    std::cerr << "\r[" + std::string(filled, '#') + std::string(width - filled, ' ') + "] " +
                     std::to_string(percent) + " %"
              << std::flush;
}
