// Preparing a statement costs more than running it, as most statements touch one row. The list
// keeps the statement used last in front, so that the least used goes first; the map finds a
// statement by its text. The map's keys are views of the texts in the list, whose nodes never move.

#include "database/StatementCache.h"

#include <sqlite3.h>

#include <exception>
#include <iterator>

#include "Tally.h"

sqlite3_stmt* StatementCache::take(sqlite3* db, const std::string& key) {
    if (!m_isUsed) {
        return nullptr;
    }
    const auto found = m_places.find(key);
    if (found != m_places.end() && !found->second->isInUse) {
        ++m_hits;
        Tally::add(Tally::StatementHits);
        m_kept.splice(m_kept.begin(), m_kept, found->second);
        found->second->isInUse = true;
        return found->second->statement;
    }
    ++m_misses;
    Tally::add(Tally::StatementMisses);
    sqlite3_stmt* statement = nullptr;
    if (sqlite3_prepare_v3(db, key.c_str(), static_cast<int>(key.size() + 1),
                           SQLITE_PREPARE_PERSISTENT, &statement, nullptr) != SQLITE_OK) {
        return nullptr;
    }
    if (found == m_places.end()) {
        keep(key, statement);
    }
    return statement;
}

void StatementCache::keep(const std::string& key, sqlite3_stmt* statement) {
    try {
        m_kept.push_front({key, statement, true});
        m_places.emplace(m_kept.front().key, m_kept.begin());
    } catch (const std::exception&) {
        // If there is no memory for a place in the list, the statement is used once and then
        // finalised.
        if (!m_kept.empty() && m_kept.front().statement == statement) {
            m_kept.pop_front();
        }
    }
    for (auto last = m_kept.end(); m_kept.size() > Capacity && last != m_kept.begin();) {
        --last;
        last = last->isInUse ? last : drop(last);
    }
}

void StatementCache::give(const std::string& key, sqlite3_stmt* statement) noexcept {
    const auto found = m_places.find(key);
    if (found == m_places.end() || found->second->statement != statement) {
        (void)sqlite3_finalize(statement);
        return;
    }
    // Repeats the failure of the last step, which the caller already has.
    (void)sqlite3_reset(statement);
    (void)sqlite3_clear_bindings(statement);
    found->second->isInUse = false;
}

StatementCache::Place StatementCache::drop(Place place) noexcept {
    m_places.erase(place->key);
    (void)sqlite3_finalize(place->statement);
    return m_kept.erase(place);
}

void StatementCache::clear() noexcept {
    for (auto place = m_kept.begin(); place != m_kept.end();) {
        place = place->isInUse ? std::next(place) : drop(place);
    }
}
