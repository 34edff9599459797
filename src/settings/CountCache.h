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
 * A write of a setting must know whether its row exists; with this cache the row is counted only
 * once. The size is limited, since clients may add settings without end; beyond the limit the cache
 * is emptied. The mutex protects the maps. The caller is responsible for correct counts: it holds
 * the adapter's lock from the read of the table until the entry is stored here.
 *
 * An entry is right until a row of its item is added or removed. So code that adds or removes rows
 * must drop the item, or clear everything if it does not know the single rows.
 */
class CountCache {
public:
    /// How many rows an item has, as a string, and the status that is returned with the count.
    struct Entry {
        std::string count;
        int status;
    };

    /// Copies the entry of an item to @p out. If there is no entry, false, and @p out does not
    /// change. It copies because the entry may be removed as soon as the lock is released.
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

    /// Drops the entry of one item, whose row is about to change in an unknown way.
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
    static constexpr std::size_t SizeOfEntry = 128;  // including the memory of its place in the map

    void forgetAll() {
        m_contexts.clear();
        m_size = 0;
    }

    std::mutex m_mutex;
    std::size_t m_size = 0;  ///< in bytes, of all entries
    std::map<std::string, std::unordered_map<std::string, Entry>> m_contexts;
};

#endif
