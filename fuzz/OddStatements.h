#ifndef ODDSTATEMENTS_H
#define ODDSTATEMENTS_H

#include <cstdint>
#include <string>

/// Changes to a database by statements that no release of the service runs.
struct OddStatement {
    enum Kind : std::uint8_t {
        Schema,   ///< the text, name or page of a table in sqlite_master
        Columns,  ///< the columns of a table, a view in its place, a trigger, an index
        Cells,    ///< a column of all rows
        Kinds
    };

    Kind kind;
    std::size_t place;  ///< any number; it selects the table and the column
    std::uint8_t value;  ///< any number; it selects the statement

    /// Changes the database @p file. If SQLite refuses, the file is still valid.
    void apply(const std::string& file) const;
};

#endif
