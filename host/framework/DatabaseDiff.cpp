// Both tables are held in memory and rows are matched by key, because an upgrade may have changed
// their order. A telephone's tables have at most some thousand rows.

#include "framework/DatabaseDiff.h"

#include <algorithm>
#include <map>
#include <optional>
#include <utility>
#include <vector>

#include "Secrets.h"
#include "framework/DatabaseFile.h"
#include "terminal/Quotes.h"
#include "terminal/TerminalText.h"
#include "terminal/TextParts.h"

namespace {

using TextParts::contains;
using Texts = std::vector<std::string>;
using Cell = std::optional<std::string>;

std::string inSql(const std::string& name) {
    return quoted(name, '"', "\"\"");
}

/// A value in its printed form.
std::string shown(const std::string& text) {
    return TerminalText::visible(replaced(text, '\\', "\\\\"));
}

/// A table of one of the databases.
struct Table {
    Texts columns;
    Texts key;                                        ///< columns of the primary key
    std::vector<std::string> keys;                    ///< of the rows, in their order
    std::map<std::string, DatabaseFile::Cells> rows;  ///< by key

    std::size_t place(const std::string& column) const {
        return static_cast<std::size_t>(std::find(columns.begin(), columns.end(), column) -
                                        columns.begin());
    }

    /// The cell; null if the row or the column does not exist.
    const Cell* cell(const std::string& rowKey, const std::string& column) const {
        const auto row = rows.find(rowKey);
        const std::size_t at = place(column);
        return row == rows.end() || at == columns.size() ? nullptr : &row->second[at];
    }
};

/// The columns of a table, and those of its primary key in the order of the key.
bool readColumns(DatabaseFile& file, const std::string& name, Table& table) {
    DatabaseFile::Rows rows;
    if (!file.query("SELECT name, pk FROM pragma_table_info(" + inSql(name) + ") ORDER BY cid",
                    rows)) {
        return false;
    }
    std::map<int, std::string> key;
    for (const auto& row : rows) {
        table.columns.push_back(row[0]);
        if (row[1] != "0") {
            key[std::stoi(row[1])] = row[0];
        }
    }
    for (const auto& [place, column] : key) {
        table.key.push_back(column);
    }
    return true;
}

/// The columns that identify a row in both tables; empty if rows only have a position.
Texts commonKey(const Table& older, const Table& newer) {
    const auto isInBoth = [&](const std::string& column) {
        return (older.columns.empty() || contains(older.columns, column)) &&
               (newer.columns.empty() || contains(newer.columns, column));
    };
    // Tables without a primary key have a row for each number and user.
    const Texts number = {contains(newer.columns, "CallGroup") ? "CallGroup" : "Id"};
    const Texts ids = {"UserContext", number.front()};
    const bool hasNumber = isInBoth(number.front());
    for (const Texts& wanted : {newer.key, older.key, hasNumber ? ids : Texts()}) {
        Texts key;
        std::copy_if(wanted.begin(), wanted.end(), std::back_inserter(key), isInBoth);
        if (!key.empty() && key != Texts{"UserContext"}) {
            return key;
        }
    }
    return {};
}

/// The rows by their printed key, which is different for different keys. If a key occurs twice,
/// which is possible in a damaged table, a number is added to it.
bool readRows(DatabaseFile& file, const std::string& name, const Texts& key, Table& table) {
    if (table.columns.empty()) {
        return true;
    }
    std::vector<DatabaseFile::Cells> rows;
    const std::string order = table.key.empty() || key.empty() ? " ORDER BY rowid" : "";
    if (!file.query("SELECT * FROM " + inSql(name) + order, rows)) {
        return false;
    }
    for (auto& row : rows) {
        std::string text;
        for (const std::string& column : key) {
            const Cell& cell = row[table.place(column)];
            const std::string part = cell ? shown(*cell) : "\\N";
            text += key.size() == 1
                        ? part
                        : (column == key.front() ? "" : ",") + replaced(part, ',', "\\x2c");
        }
        text = key.empty() ? "#" + std::to_string(table.keys.size() + 1) : text;
        std::string unique = text;
        for (int number = 2; table.rows.count(unique) > 0; ++number) {
            unique = text + " #" + std::to_string(number);
        }
        table.keys.push_back(unique);
        table.rows.emplace(unique, std::move(row));
    }
    return true;
}

/// Two tables of the same name, one of which may be missing.
class TableDiff {
public:
    explicit TableDiff(std::string name) : m_name(std::move(name)) {}

    bool read(DatabaseFile& older, bool isInOlder, DatabaseFile& newer, bool isInNewer) {
        if ((isInOlder && !readColumns(older, m_name, m_old)) ||
            (isInNewer && !readColumns(newer, m_name, m_new))) {
            return false;
        }
        const Texts key = commonKey(m_old, m_new);
        return readRows(older, m_name, key, m_old) && readRows(newer, m_name, key, m_new);
    }

    std::string lines() const {
        Texts columns = m_old.columns;
        std::copy_if(m_new.columns.begin(), m_new.columns.end(), std::back_inserter(columns),
                     [&](const std::string& column) { return !contains(m_old.columns, column); });
        Texts keys = m_old.keys;
        std::copy_if(m_new.keys.begin(), m_new.keys.end(), std::back_inserter(keys),
                     [&](const std::string& key) { return m_old.rows.count(key) == 0; });
        std::string text;
        for (const std::string& key : keys) {
            for (const std::string& column : columns) {
                addCell(text, key, column);
            }
        }
        return text;
    }

private:
    void addCell(std::string& text, const std::string& key, const std::string& column) const {
        const Cell* const before = m_old.cell(key, column);
        const Cell* const after = m_new.cell(key, column);
        const bool areAlike =
            before == nullptr || after == nullptr ? before == after : *before == *after;
        if (!areAlike) {
            const bool isSecret = holdsSecret(key, column);
            text += shown(m_name) + '\t' + key + '\t' + shown(column) + '\t' +
                    textOf(before, isSecret) + '\t' + textOf(after, isSecret) + '\n';
        }
    }

    /// Decided by the column, or by the name of a setting.
    bool holdsSecret(const std::string& key, const std::string& column) const {
        if (Secrets::isSecret(column)) {
            return true;
        }
        for (const Table* const table : {&m_old, &m_new}) {
            const Cell* const name = column == "Value" ? table->cell(key, "Name") : nullptr;
            if (name != nullptr && *name && Secrets::isSecret(**name)) {
                return true;
            }
        }
        return false;
    }

    static std::string textOf(const Cell* cell, bool isSecret) {
        if (cell == nullptr) {
            return "\\-";
        }
        if (!*cell) {
            return "\\N";
        }
        return isSecret && !(*cell)->empty() ? std::string(Secrets::Mask) : shown(**cell);
    }

    std::string m_name;
    Table m_old;
    Table m_new;
};

/// SQLite's own tables depend on the history of a database, not on its contents.
bool readNames(DatabaseFile& file, Texts& names) {
    DatabaseFile::Rows rows;
    const bool isRead = file.query(
        "SELECT name FROM sqlite_master WHERE type = 'table' AND name NOT LIKE 'sqlite\\_%' "
        "ESCAPE '\\' ORDER BY name",
        rows);
    for (const auto& row : rows) {
        names.push_back(row[0]);
    }
    return isRead;
}

}  // namespace

bool DatabaseDiff::compare(const std::string& oldPath, const std::string& newPath) {
    DatabaseFile older;
    DatabaseFile newer;
    Texts oldNames;
    Texts newNames;
    if (!older.open(oldPath) || !readNames(older, oldNames)) {
        return fail(oldPath, older);
    }
    if (!newer.open(newPath) || !readNames(newer, newNames)) {
        return fail(newPath, newer);
    }
    Texts names;
    std::set_union(oldNames.begin(), oldNames.end(), newNames.begin(), newNames.end(),
                   std::back_inserter(names));
    for (const std::string& name : names) {
        TableDiff table(name);
        if (!table.read(older, contains(oldNames, name), newer, contains(newNames, name))) {
            return fail(name, older.error().empty() ? newer : older);
        }
        m_lines += table.lines();
    }
    return true;
}

bool DatabaseDiff::fail(const std::string& subject, const DatabaseFile& file) {
    m_error = subject + ": " + file.error();
    m_advice = file.advice().empty() ? "das check looks at a database" : file.advice();
    return false;
}
