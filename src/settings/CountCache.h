#ifndef COUNTCACHE_H
#define COUNTCACHE_H

#include <map>
#include <mutex>
#include <string>
#include <unordered_map>
#include <utility>

/**
 * The counts of settings that are known, by context and then by item. Texts are escaped.
 *
 * A write of a setting must know whether its row is there, and counts it only once that way. What
 * the counts take is limited, since clients may add settings without end: beyond it everything is
 * forgotten. The mutex keeps the maps whole; that the counts are true is up to the caller, who
 * holds the adapter's lock from the look at the table to the entry here.
 */
/// An entry is true until a row of its item comes or goes, so whoever adds or removes rows drops
/// the item, or clears all when the rows are not known one by one.
class CountCache {
public:
    /// How many rows an item has, as text, and the status that a reader gets with the count.
    struct Entry {
        std::string count;
        int status;
    };

    /// Takes the entry of an item to @p out. False, with @p out as it was, when it is not known.
    /// A copy is taken: the entry itself may be gone as soon as the lock is free.
    bool find(const std::string& context, const std::string& key, Entry& out) {
        std::lock_guard<std::mutex> lock(m_mutex);
        const auto entries = m_contexts.find(context);
        if (entries == m_contexts.end()) {
            return false;
        }
        const auto found = entries->second.find(key);
        if (found == entries->second.end()) {
            return false;
        }
        out = found->second;
        return true;
    }

    /// Remembers the entry of an item; forgets all others first if it would take too much memory.
    void store(const std::string& context, const std::string& key, Entry entry) {
        std::lock_guard<std::mutex> lock(m_mutex);
        const std::size_t size = context.size() + key.size() + SizeOfEntry;
        if (m_size + size > LargestSize) {
            forgetAll();
        }
        m_size += m_contexts[context].insert_or_assign(key, std::move(entry)).second ? size : 0;
    }

    /// Forgets one item, whose row is about to change in a way that is not known.
    void drop(const std::string& context, const std::string& key) {
        std::lock_guard<std::mutex> lock(m_mutex);
        const auto entries = m_contexts.find(context);
        if (entries != m_contexts.end() && entries->second.erase(key) > 0) {
            m_size -= context.size() + key.size() + SizeOfEntry;
        }
    }

    /// Forgets everything.
    void clear() {
        std::lock_guard<std::mutex> lock(m_mutex);
        forgetAll();
    }

private:
    static constexpr std::size_t LargestSize = std::size_t{8} * 1024 * 1024;
    static constexpr std::size_t SizeOfEntry = 128;  // with what holds it in its map

    void forgetAll() {
        m_contexts.clear();
        m_size = 0;
    }

    std::mutex m_mutex;
    std::size_t m_size = 0;  ///< in bytes, of all entries
    std::map<std::string, std::unordered_map<std::string, Entry>> m_contexts;
};

#endif
