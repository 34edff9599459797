#ifndef FLOORDATABASE_H
#define FLOORDATABASE_H

#include <string>
#include <vector>

#include "DASTypes.h"

struct sqlite3;

namespace Bench {

/// The bare SQLite interface over a database of its own: each statement is prepared anew, each cell
/// is copied once.
class FloorDatabase {
public:
    /// Opens @p path with the settings of the service's connection.
    explicit FloorDatabase(const std::string& path);
    ~FloorDatabase();
    FloorDatabase(const FloorDatabase&) = delete;
    FloorDatabase& operator=(const FloorDatabase&) = delete;

    /// Runs a statement without rows.
    void run(const std::string& sql);
    /// Prepares a statement and does not run it: the service asks for column names that way.
    void prepare(const std::string& sql);
    Rows rows(const std::string& sql);
    /// The first cell of the first row; "0" for a statement that fails, as a missing table gives.
    std::string count(const std::string& sql);
    /// Has count() do nothing: the service counts to see whether a table is there, and a program
    /// that knows its database needs no such statement.
    void leaveOutCounts() { m_leavesOutCounts = true; }
    /// The number of the row that was inserted last.
    std::string lastNumber() const;

    /// Memory that the rows of all reads so far take: a text object for each cell, and the cells
    /// that do not fit into it.
    long long rowBytes() const { return m_rowBytes; }

    sqlite3* handle() { return m_db; }
    /// SQLite's words for the first statement of `run`, `prepare` or `rows` that failed; empty
    /// while none did.
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

/// The answer to a read: of each row the cells from @p firstCell on, one for each of @p tags.
std::string readAnswer(const char* schema, const Rows& rows, const std::vector<Tags>& tags,
                       std::size_t firstCell);

}  // namespace Bench

#endif
