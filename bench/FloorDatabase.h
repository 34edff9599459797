#ifndef FLOORDATABASE_H
#define FLOORDATABASE_H

#include <string>
#include <vector>

#include "DASTypes.h"

struct sqlite3;

namespace Bench {

/// SQLite's plain interface to a separate database: each statement is prepared every time, each
/// cell is copied once.
class FloorDatabase {
public:
    /// Opens @p path with the settings of the service's connection.
    explicit FloorDatabase(const std::string& path);
    ~FloorDatabase();
    FloorDatabase(const FloorDatabase&) = delete;
    FloorDatabase& operator=(const FloorDatabase&) = delete;

    /// Runs a statement without rows.
    void run(const std::string& sql);
    /// Prepares a statement without running it: the service reads column names in this way.
    void prepare(const std::string& sql);
    Rows rows(const std::string& sql);
    /// The first cell of the first row; "0" for a statement that fails, for example because the
    /// table is missing.
    std::string count(const std::string& sql);
    /// From now on count() does nothing: the service counts to find out whether a table exists,
    /// which a program that knows its database need not do.
    void leaveOutCounts() { m_leavesOutCounts = true; }
    /// The number of the row that was inserted last.
    std::string lastNumber() const;

    /// Memory of all rows read so far: a string object for each cell, plus the contents that do not
    /// fit into it.
    long long rowBytes() const { return m_rowBytes; }

    sqlite3* handle() { return m_db; }
    /// SQLite's message for the first failed statement of `run`, `prepare` or `rows`; empty if none
    /// failed.
    const std::string& failure() const { return m_failure; }

private:
    void check(int code, int expected, const std::string& sql);

    sqlite3* m_db = nullptr;
    bool m_leavesOutCounts = false;
    std::string m_failure;
    long long m_rowBytes = 0;
};

/// The tags of a column. Made once, outside of the measured time.
struct Tags {
    explicit Tags(const std::string& column)
        : start("<" + column + ">"), end("</" + column + ">") {}

    std::string start;
    std::string end;
};

std::vector<Tags> tagsOf(const std::vector<std::string>& columns);

/// An answer without a body.
std::string plainAnswer(const char* schema, const char* reason);

/// The answer to a read: for each row, the cells from @p firstCell on, one for each of @p tags.
std::string readAnswer(const char* schema, const Rows& rows, const std::vector<Tags>& tags,
                       std::size_t firstCell);

}  // namespace Bench

#endif
