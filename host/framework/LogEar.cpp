// An entry that is not formatted can't be collected. So while the object lives, the log level is
// that of failures, and the sink drops entries that the previous level would not have written.

#include "framework/LogEar.h"

#include <algorithm>
#include <cstdlib>
#include <iostream>
#include <utility>

#include "Log.h"
#include "terminal/Complaint.h"
#include "terminal/TextParts.h"

LogEar::LogEar() : m_shownLevel(Log::level()), m_isStarting(std::getenv("DAS_LOG") == nullptr) {
    Log::setSink([this](const Log::Entry& entry) {
        if (entry.message.find("database is locked") != std::string::npos && !m_hasNamedHolder) {
            m_hasNamedHolder = true;
            Complaint::report("another process holds the database",
                              "the command waits for it, five seconds for each statement");
        }
        if (entry.level <= m_shownLevel && !m_isStarting) {
            std::string line = Log::toLine(entry) + "\n";
            for (const auto& [path, text] : m_shownAs) {
                line = TextParts::withText(line, path, text);
            }
            std::cerr << line << std::flush;
        }
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_heard.add(entry);
    });
    Log::setLevel(std::max(m_shownLevel, FailureWords::HighestLevel));
}

LogEar::~LogEar() {
    Log::setLevel(m_shownLevel);
    Log::setSink({});
}

FailureWords LogEar::take() {
    const std::lock_guard<std::mutex> lock(m_mutex);
    return std::exchange(m_heard, {});
}
