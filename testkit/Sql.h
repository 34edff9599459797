#ifndef SQL_H
#define SQL_H

#include <functional>
#include <string>
#include <utility>
#include <vector>

struct sqlite3;

/// A test's own connection, to read what the service wrote and to write what it should read.
class Sql {
public:
    using Rows = std::vector<std::vector<std::string>>;

    /// Creates the file if it is missing; a failure shows at the first statement. @param vfs name
    /// of SQLite's file system layer; null for the default
    explicit Sql(const std::string& file, const char* vfs = nullptr);
    /// Uses @p db, which its owner still owns.
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

    /// The cells of each result row of @p statements as strings; NULL becomes @p null. SQLite's
    /// message for a failure goes to @p error, if given.
    Rows rows(const std::string& statements, std::string* error = nullptr,
              const char* null = "") const;
    /// The first cell of each row; empty if the query fails.
    std::vector<std::string> texts(const std::string& query) const;
    /// The first cell of the first row; "(none)" without one.
    std::string cell(const std::string& query) const;
    /// Runs statements. Returns SQLite's message if one fails, else an empty string.
    std::string run(const std::string& statements) const;
    /// The same, but a failure throws std::runtime_error.
    void mustRun(const std::string& statements) const;

    /// Makes this database the same as @p other. False if that fails.
    bool copyFrom(const Sql& other) const;

private:
    sqlite3* m_db = nullptr;
    bool m_isOwner = true;
};

#endif
