#ifndef STATEMENT_H
#define STATEMENT_H

#include <sqlite3.h>

#include <optional>
#include <string>
#include <vector>

#include "Progress.h"

#include "database/StatementCache.h"
#include "database/StatementText.h"

/**
 * A prepared statement for a scope. Only the adapter's own units use it, since it includes SQLite's
 * header. The adapter's lock must be held for its whole life.
 */
class Statement {
public:
    /// Prepares @p sql on @p db, which may be null, and finalises it at the end of the scope. This
    /// form is also for names and counts of columns: a cached statement notices changed tables only
    /// when it is stepped.
    /// @p sql must outlive this object.
    Statement(sqlite3* db, const std::string& sql) : m_db(db), m_sql(sql) { prepare(); }

    enum class Unless { Kept, Prepared };
    /// Takes the statement from @p cache if its string may be cached, and binds the values of the
    /// string. Otherwise the statement is prepared for the scope; with Unless::Kept it stays empty.
    Statement(StatementCache& cache, sqlite3* db, const std::string& sql,
              Unless otherwise = Unless::Prepared)
        : m_db(db), m_sql(sql) {
        if (!takeFrom(cache) && otherwise == Unless::Prepared) {
            prepare();
        }
    }

    ~Statement() {
        if (m_cache != nullptr) {
            m_cache->give(m_text->key(), m_handle);
        } else {
            sqlite3_finalize(m_handle);
        }
    }
    Statement(const Statement&) = delete;
    Statement& operator=(const Statement&) = delete;

    [[nodiscard]] bool isPrepared() const { return m_prepared; }

    /// Whether there is nothing to step: the string was not prepared, or holds no statement.
    [[nodiscard]] bool isEmpty() const { return m_handle == nullptr; }

    /**
     * Raw SQLite code of the next step; SQLITE_MISUSE if nothing is prepared. If another process
     * has changed the tables since the prepare, the first step prepares the statement again instead
     * of failing (for a cached statement SQLite does this itself).
     */
    int step() {
        int code = stepOnce();
        for (int tries = 0; tries < MaximumTries && schemaChanged(code); ++tries) {
            sqlite3_finalize(m_handle);
            prepare();
            code = stepOnce();
        }
        m_stepped = true;
        return code;
    }

    /// Whether the statement came from the cache.
    [[nodiscard]] bool isKept() const { return m_cache != nullptr; }

    /// Resets the statement to its start; returns the raw SQLite code of the step that failed, if
    /// any.
    int reset() { return sqlite3_reset(m_handle); }

    /// Number of columns of the result; 0 when nothing is prepared.
    [[nodiscard]] int columnCount() const { return sqlite3_column_count(m_handle); }

    /// Name of a column; empty without one.
    [[nodiscard]] std::string columnName(int column) const {
        if (column < 0 || column >= columnCount()) {
            return {};
        }
        const char* name = sqlite3_column_name(m_handle, column);
        return name != nullptr ? name : std::string();
    }

    /// Names of all columns of the result, in their order.
    [[nodiscard]] std::vector<std::string> columnNames() const {
        std::vector<std::string> names;
        for (int column = 0; column < columnCount(); ++column) {
            names.push_back(columnName(column));
        }
        return names;
    }

    /// Whether the cell of the present row is NULL.
    [[nodiscard]] bool isNull(int column) const {
        return sqlite3_column_type(m_handle, column) == SQLITE_NULL;
    }

    /// The cell of the present row as a string; empty for NULL.
    [[nodiscard]] std::string text(int column) const {
        const auto* cell = reinterpret_cast<const char*>(sqlite3_column_text(m_handle, column));
        if (cell == nullptr) {
            return {};
        }
        return {cell, static_cast<std::size_t>(sqlite3_column_bytes(m_handle, column))};
    }

private:
    static constexpr int MaximumTries = 5;

    [[nodiscard]] bool takeFrom(StatementCache& cache) {
        m_text.emplace(m_sql);
        if (m_db == nullptr || !m_text->isCacheable()) {
            return false;
        }
        m_handle = cache.take(m_db, m_text->key());
        if (m_handle == nullptr) {
            return false;
        }
        m_cache = &cache;
        m_prepared = bindLiterals();
        if (!m_prepared) {
            cache.give(m_text->key(), m_handle);
            m_handle = nullptr;
            m_cache = nullptr;
        }
        return m_prepared;
    }

    [[nodiscard]] bool bindLiterals() {
        const auto& literals = m_text->literals();
        if (static_cast<std::size_t>(sqlite3_bind_parameter_count(m_handle)) != literals.size()) {
            return false;
        }
        int parameter = 0;
        for (const StatementText::Literal& literal : literals) {
            ++parameter;
            int code = SQLITE_OK;
            if (literal.hasDoubledQuotes) {
                const std::string value = m_text->unquoted(literal);
                code = sqlite3_bind_text(m_handle, parameter, value.data(),
                                         static_cast<int>(value.size()), SQLITE_TRANSIENT);
            } else {
                code = sqlite3_bind_text(m_handle, parameter, m_sql.data() + literal.begin,
                                         static_cast<int>(literal.length), SQLITE_STATIC);
            }
            if (code != SQLITE_OK) {
                return false;
            }
        }
        return true;
    }

    void prepare() {
        m_handle = nullptr;
        m_prepared = m_db != nullptr &&
                     sqlite3_prepare(m_db, m_sql.c_str(), -1, &m_handle, nullptr) == SQLITE_OK;
    }

    /// SQLite would log the missing statement as an error.
    int stepOnce() {
        Progress::beat();
        return m_handle != nullptr ? sqlite3_step(m_handle) : SQLITE_MISUSE;
    }

    bool schemaChanged(int code) {
        return !m_stepped && m_cache == nullptr && m_handle != nullptr && code != SQLITE_ROW &&
               code != SQLITE_DONE && code != SQLITE_BUSY && reset() == SQLITE_SCHEMA;
    }

    sqlite3* m_db;                        // not owned
    const std::string& m_sql;             // not owned
    std::optional<StatementText> m_text;  // set if the statement may be cached
    StatementCache* m_cache = nullptr;    // the cache that gets the statement back; not owned
    sqlite3_stmt* m_handle = nullptr;
    bool m_prepared = false;
    bool m_stepped = false;
};

#endif
