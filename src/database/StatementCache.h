#ifndef STATEMENTCACHE_H
#define STATEMENTCACHE_H

#include <cstddef>
#include <list>
#include <string>
#include <string_view>
#include <unordered_map>

struct sqlite3;
struct sqlite3_stmt;

/**
 * Prepared statements of one connection, by their text without its literals. A statement in use is
 * not shared. For the adapter alone, with its lock held.
 */
class StatementCache {
public:
    StatementCache() = default;
    ~StatementCache() { clear(); }
    StatementCache(const StatementCache&) = delete;
    StatementCache& operator=(const StatementCache&) = delete;

    /// A reset statement for the string @p key on @p db, without values; prepared if none is
    /// cached. Null if it can't be prepared. The caller returns it with give().
    [[nodiscard]] sqlite3_stmt* take(sqlite3* db, const std::string& key);

    /// Returns @p statement, which take() returned for @p key.
    void give(const std::string& key, sqlite3_stmt* statement) noexcept;

    /// Finalises all statements that are not in use. Called before the connection is closed, and
    /// when tables may have changed, so that a statement about a missing table fails as early as it
    /// would without the cache.
    void clear() noexcept;

    /// How many statements are kept.
    static constexpr std::size_t Capacity = 64;

    /// If set to false, take() returns null, and the cached statements stay. Only a comparison of
    /// answers with and without the cache sets it.
    void setUsed(bool isUsed) { m_isUsed = isUsed; }

    [[nodiscard]] std::size_t size() const { return m_kept.size(); }
    /// How often a kept statement was found, and how often one was prepared.
    [[nodiscard]] long long hits() const { return m_hits; }
    [[nodiscard]] long long misses() const { return m_misses; }

private:
    struct Kept {
        std::string key;
        sqlite3_stmt* statement;
        bool isInUse;
    };
    using Place = std::list<Kept>::iterator;

    void keep(const std::string& key, sqlite3_stmt* statement);
    Place drop(Place place) noexcept;

    std::list<Kept> m_kept;                                // the one used last comes first
    std::unordered_map<std::string_view, Place> m_places;  // by the keys of m_kept
    bool m_isUsed = true;
    long long m_hits = 0;
    long long m_misses = 0;
};

#endif
