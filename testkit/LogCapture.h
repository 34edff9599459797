#ifndef LOGCAPTURE_H
#define LOGCAPTURE_H

#include <algorithm>
#include <mutex>
#include <string>
#include <vector>

#include "Log.h"

/**
 * Stores the log's entries for a test until the end of the scope, and then restores the level and
 * the sink of the log. Captures may be nested: the innermost gets the entries. Any thread may log
 * and read entries; one thread creates and destroys captures.
 */
class LogCapture {
public:
    /// @p level is the highest level that is kept.
    explicit LogCapture(int level = 6) : m_levelBefore(Log::level()), m_outer(s_innermost) {
        s_innermost = this;
        Log::setLevel(level);
        useSinkOf(this);
    }

    ~LogCapture() {
        s_innermost = m_outer;
        useSinkOf(m_outer);
        Log::setLevel(m_levelBefore);
    }

    LogCapture(const LogCapture&) = delete;
    LogCapture& operator=(const LogCapture&) = delete;

    /// Whether an entry's message contains @p part.
    bool has(const std::string& part) const { return count(part) > 0; }

    /// Whether an entry of @p level contains @p part.
    bool has(int level, const std::string& part) const {
        const std::vector<Log::Entry> all = entries();
        return std::any_of(all.begin(), all.end(), [&](const Log::Entry& entry) {
            return entry.level == level && entry.message.find(part) != std::string::npos;
        });
    }

    /// How many entries contain @p part.
    int count(const std::string& part) const {
        const std::vector<Log::Entry> all = entries();
        return static_cast<int>(std::count_if(all.begin(), all.end(), [&](const Log::Entry& entry) {
            return entry.message.find(part) != std::string::npos;
        }));
    }

    /// All entries so far, in their order; messages as they were formatted.
    std::vector<Log::Entry> entries() const {
        const std::lock_guard<std::mutex> lock(m_mutex);
        return m_entries;
    }

    void clear() {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_entries.clear();
    }

private:
    /// Makes @p capture the log's sink; null restores standard error.
    static void useSinkOf(LogCapture* capture) {
        if (capture == nullptr) {
            Log::setSink({});
        } else {
            Log::setSink([capture](const Log::Entry& entry) { capture->keep(entry); });
        }
    }

    void keep(const Log::Entry& entry) {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_entries.push_back(entry);
    }

    inline static LogCapture* s_innermost = nullptr;

    mutable std::mutex m_mutex;
    std::vector<Log::Entry> m_entries;
    const int m_levelBefore;
    LogCapture* const m_outer;
};

#endif
