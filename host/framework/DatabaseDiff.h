#ifndef DATABASEDIFF_H
#define DATABASEDIFF_H

#include <string>

class DatabaseFile;

/**
 * What differs between two databases, cell by cell.
 *
 * A line has table, key, column, old and new value, with tabs between them. Cells are compared as
 * text. A row is identified by its primary key, else by its user and Id, else by its number in the
 * table; the parts of a key are joined by commas, and a comma in a part is "\x2c" then. In a value
 * a NULL is "\N", a row or column that is not there "\-", a backslash is doubled, control
 * characters are escaped, and secrets are masked as in the log. SQLite's own tables, indices and
 * views are left out.
 */
class DatabaseDiff {
public:
    /// Compares two files, which are opened only for reading. False if one can't be read.
    [[nodiscard]] bool compare(const std::string& oldPath, const std::string& newPath);

    /// A line for each difference; empty without one.
    const std::string& lines() const { return m_lines; }

    /// Which file can't be read, and why.
    const std::string& error() const { return m_error; }

    /// What helps against that.
    const std::string& advice() const { return m_advice; }

private:
    /// Notes what went wrong with @p file, which @p subject names; returns false.
    bool fail(const std::string& subject, const DatabaseFile& file);

    /// All lines: if a comparison fails half way, its caller must not print only half of it.
    std::string m_lines;
    std::string m_error;
    std::string m_advice;
};

#endif
