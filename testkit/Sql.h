#ifndef SQL_H
#define SQL_H

#include <functional>
#include <string>
#include <utility>
#include <vector>

struct sqlite3;

/// A connection of a test's own, which reads what the service wrote and writes what it shall find.
class Sql {
public:
    using Rows = std::vector<std::vector<std::string>>;

    /// Makes the file if it is missing; a failure shows at the first statement.
    /// @param vfs the file system to go through, as SQLite knows it; null for the usual one
    explicit Sql(const std::string& file, const char* vfs = nullptr);
    /// Looks through @p db, which stays its owner's.
    explicit Sql(sqlite3* db) : m_db(db), m_isOwner(false) {}
    ~Sql();
    Sql(Sql&& other) noexcept
        : m_db(std::exchange(other.m_db, nullptr)), m_isOwner(other.m_isOwner) {}
    Sql& operator=(Sql&& other) noexcept {
        std::swap(m_db, other.m_db);
        std::swap(m_isOwner, other.m_isOwner);
        return *this;
    }

    sqlite3* get() const { return m_db; }

    /// The cells of each row of @p statements as texts, NULL as @p null. SQLite's words for a
    /// failure go to @p error, if it is given.
    Rows rows(const std::string& statements, std::string* error = nullptr,
              const char* null = "") const;
    /// The first cell of each row; none when the query fails.
    std::vector<std::string> texts(const std::string& query) const;
    /// The first cell of the first row; "(none)" without one.
    std::string cell(const std::string& query) const;
    /// Runs statements. SQLite's words when one fails; empty otherwise.
    std::string run(const std::string& statements) const;
    /// The same, and a failure throws std::runtime_error.
    void mustRun(const std::string& statements) const;

    /// Makes this database the same as @p other. False if that fails.
    bool copyFrom(const Sql& other) const;

private:
    sqlite3* m_db = nullptr;
    bool m_isOwner = true;
};

#endif
