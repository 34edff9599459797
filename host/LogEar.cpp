#include "LogEar.h"

#include <algorithm>
#include <cstdlib>
#include <iostream>
#include <utility>

#include "Log.h"

namespace {

constexpr int LevelOfFailures = 3;
constexpr std::size_t LongestText = 400;

}  // namespace

LogEar::LogEar() : m_shownLevel(Log::level()), m_isStarting(std::getenv("DAS_LOG") == nullptr) {
    Log::setSink([this](const Log::Entry& entry) {
        if (entry.level <= m_shownLevel && !m_isStarting) {
            std::cerr << Log::toLine(entry) + "\n" << std::flush;
        }
        const std::lock_guard<std::mutex> lock(m_mutex);
        std::string words = entry.message.substr(0, entry.message.find_last_not_of('\n') + 1);
        if (m_heard.empty() && words.size() >= LongestText) {
            words = words.substr(0, LongestText - 4) + "...";  // SQLite's words stand in front
        }
        if (entry.level <= LevelOfFailures && m_heard.find(words) == std::string::npos &&
            m_heard.size() + words.size() < LongestText) {
            m_heard += (m_heard.empty() ? "" : "; ") + words;
        }
    });
    Log::setLevel(std::max(m_shownLevel, LevelOfFailures));
}

LogEar::~LogEar() {
    Log::setLevel(m_shownLevel);
    Log::setSink({});
}

std::string LogEar::take() {
    const std::lock_guard<std::mutex> lock(m_mutex);
    return std::exchange(m_heard, {});
}
