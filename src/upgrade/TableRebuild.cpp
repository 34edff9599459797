// SQLite can't change the order or the key of columns. So a table is renamed, created again and
// filled by column name. All of it is one transaction, since a power failure between two of these
// steps would lose the rows.

#include "upgrade/TableRebuild.h"

#include <strings.h>

#include <algorithm>

#include "ClientUtils.h"
#include "DASUtilsStrings.h"
#include "Log.h"
#include "dao/DataAccessObject.h"
#include "database/AdapterGuards.h"
#include "database/DatabaseAdapter.h"
#include "upgrade/StepHelpers.h"

namespace {

const char* const AsideEnding = "_MIGRATION";

bool isSameName(const std::string& one, const std::string& other) {
    return ::strcasecmp(one.c_str(), other.c_str()) == 0;
}

/// A key that the database assigns: a row without a value gets the next number.
bool isMadeByDatabase(const DASUtils::ColumnInfo& column) {
    return column.type.find("INTEGER PRIMARY KEY") != std::string::npos;
}

/// A key of one column, which SQLite compares in the type of that column.
bool isTextKey(const DASUtils::ColumnInfo& column) {
    return column.type.find("TEXT PRIMARY KEY") != std::string::npos;
}

bool isNumbered(const DASUtils::ColumnInfo& column) {
    return column.type.find("AUTOINCREMENT") != std::string::npos;
}

/// Whether each text column stores strings unchanged. A table that was created with other types may
/// not.
bool keepsTexts(DatabaseAdapter& adapter, const DataAccessObject& dao) {
    return std::none_of(dao.columns().begin(), dao.columns().end(),
                        [&](const DASUtils::ColumnInfo& column) {
                            return column.type.find(DASUtilsStrings::columnTypeText) == 0 &&
                                   adapter.changesTexts(dao.tableName(), column.name);
                        });
}

/// Whether the database numbers the rows of the table, if the object's rows have numbers. Without
/// this key, each write of a row would add another one. True also if this can't be read.
bool numbersRows(DatabaseAdapter& adapter, const DataAccessObject& dao) {
    const auto number = std::find_if(dao.columns().begin(), dao.columns().end(), isMadeByDatabase);
    if (number == dao.columns().end()) {
        return true;
    }
    std::string isOther;  // "0" also when the query fails
    adapter.getRowCount(
        "SELECT COALESCE((SELECT GROUP_CONCAT(name || ' ' || type) FROM "
        "pragma_table_info(" +
            DASUtils::convertToDBFormat(dao.tableName()) + ") WHERE pk > 0) <> " +
            DASUtils::convertToDBFormat(number->name + " INTEGER") + " COLLATE NOCASE, 1);",
        isOther);
    return isOther == "0";
}

}  // namespace

TableForm::TableForm(DatabaseAdapter& adapter, const DataAccessObject& dao,
                     const std::vector<std::string>& names)
    : columns(names.size()), wanted(dao.columns().size()) {
    while (inPlace < std::min(columns, wanted) &&
           isSameName(dao.columns()[inPlace].name, names[inPlace])) {
        ++inPlace;
    }
    m_isOfToday = inPlace < wanted || (numbersRows(adapter, dao) && keepsTexts(adapter, dao));
}

TableRebuild::TableRebuild(DatabaseAdapter& adapter, DataAccessObject& dao,
                           std::vector<std::string> oldColumns)
    : m_adapter(adapter),
      m_dao(dao),
      m_oldColumns(std::move(oldColumns)),
      m_table(dao.tableName()) {}

bool TableRebuild::isDone() const {
    return TableForm(m_adapter, m_dao, m_oldColumns).isInOrder();
}

bool TableRebuild::run(DefaultRows rows) {
    StepHelpers::logGivenUpColumns(m_adapter, m_table, m_oldColumns, m_dao.columnNames());
    if (!runWholeOrNot(m_adapter, [&] { return replaceTable(rows); })) {
        DAS_LOG(2, "The table %s could not be rebuilt and stays as it was", m_table.c_str());
        return false;
    }
    DAS_LOG(5, "The table %s has got %d columns in place of %d", m_table.c_str(),
            static_cast<int>(m_dao.columns().size()), static_cast<int>(m_oldColumns.size()));
    return true;
}

bool TableRebuild::copyFrom(const std::string& table) {
    m_aside = table;
    return copyRows() && keepsAllRows();
}

bool TableRebuild::addFrom(const std::string& table) {
    m_aside = table;
    const std::string before = DASUtils::countOf(m_adapter, m_table);
    const std::string added = DASUtils::countOf(m_adapter, m_aside);
    return !before.empty() && !added.empty() && execute(copyStatement(Numbers::New, "")) &&
           ClientUtils::stoi(DASUtils::countOf(m_adapter, m_table)) ==
               ClientUtils::stoi(before) + ClientUtils::stoi(added);
}

bool TableRebuild::wasThere(const std::string& column) const {
    return StepHelpers::hasColumn(m_oldColumns, column);
}

/// The condition that a row is the default row at a given index: it has that row's id, and each
/// cell in which the default rows differ. A label belongs to its function, and not to any other
/// function on that key. Rows without an id are no default rows.
std::string TableRebuild::isDefaultRow(std::size_t row, const Column& except) const {
    const bool hasId = std::any_of(
        m_dao.columns().begin(), m_dao.columns().end(),
        [](const Column& column) { return isSameName(column.name, DASUtilsStrings::IdTagName); });
    const std::string& key = hasId ? DASUtilsStrings::IdTagName : m_dao.columns().front().name;
    if (!wasThere(key)) {
        return "0";
    }
    std::string condition = key + " = " + DASUtils::escapeAndQuote(m_dao.defaultRowIds().at(row));
    for (const Column& column : m_dao.columns()) {
        if (column.defaults.size() > 1 && column.name != except.name && wasThere(column.name)) {
            const std::string value = DASUtils::escapeAndQuote(column.defaults.at(row));
            condition += " AND COALESCE(" + column.name + ", " + value + ") = " + value;
        }
    }
    return condition;
}

std::string TableRebuild::defaultOf(const Column& column) const {
    if (isSameName(column.name, DASUtilsStrings::UserContextTagName)) {
        return DASUtils::convertToDBFormat(DASUtilsStrings::UserContextBase);
    }
    if (column.defaults.size() < 2) {
        return column.defaults.empty() ? DASUtilsStrings::EmptyDBString
                                       : DASUtils::escapeAndQuote(column.defaults.front());
    }
    std::string text = "CASE";
    for (std::size_t row = 0; row < column.defaults.size(); ++row) {
        text += " WHEN " + isDefaultRow(row, column) + " THEN " +
                DASUtils::escapeAndQuote(column.defaults[row]);
    }
    return text + " ELSE '' END";
}

std::string TableRebuild::valueOf(const Column& column) const {
    if (!wasThere(column.name)) {
        return defaultOf(column);
    }
    return isMadeByDatabase(column) ? column.name
                                    : "COALESCE(" + column.name + ", " + defaultOf(column) + ")";
}

std::string TableRebuild::copyStatement(Numbers numbers, const std::string& rows) const {
    std::vector<std::string> names;
    std::vector<std::string> values;
    for (const Column& column : m_dao.columns()) {
        if (numbers == Numbers::Kept || !isMadeByDatabase(column)) {
            names.push_back(column.name);
            values.push_back(valueOf(column));
        }
    }
    // Of several rows with the same key, the last one stays.
    return (keyColumns().empty() ? "INSERT INTO " : "INSERT OR REPLACE INTO ") + m_table + " (" +
           ClientUtils::join(names, ", ") + ") SELECT " + ClientUtils::join(values, ", ") +
           " FROM " + m_aside + rows + ";";
}

/// Copies all rows. A row without a number, or with the number of an earlier row, gets a new one.
bool TableRebuild::copyRows() {
    const auto number =
        std::find_if(m_dao.columns().begin(), m_dao.columns().end(), isMadeByDatabase);
    if (number == m_dao.columns().end() || !wasThere(number->name)) {
        return execute(copyStatement(Numbers::New, "")) && carryNumbering();
    }
    const std::string asNumber = "CAST(" + number->name + " AS INTEGER)";
    const std::string first = " IN (SELECT MIN(rowid) FROM " + m_aside + " WHERE " + asNumber +
                              " = " + number->name + " GROUP BY " + asNumber + ")";
    return execute(copyStatement(Numbers::Kept, " WHERE rowid" + first)) && carryNumbering() &&
           execute(copyStatement(Numbers::New, " WHERE rowid NOT" + first));
}

bool TableRebuild::execute(const std::string& sql) {
    return m_adapter.executeNonQuery(sql) == 0;
}

bool TableRebuild::replaceTable(DefaultRows rows) {
    const bool replaced =
        readIndices() && renameAside() && m_dao.createTable() == 0 && copyRows() &&
        keepsAllRows() && execute("DROP TABLE " + m_aside + ";") &&
        (rows == DefaultRows::Leave || m_dao.insertDefaultRowsInTransaction(true) == 0);
    if (replaced) {
        makeIndices();
    }
    return replaced;
}

/// If something else has left a table with the usual name, another name is used.
bool TableRebuild::renameAside() {
    m_aside = m_adapter.freeTableName(m_table + AsideEnding);
    return !m_aside.empty() && m_adapter.renameTable(m_table, m_aside) == 0;
}

bool TableRebuild::readIndices() {
    Rows rows;
    const std::string sql = "SELECT sql FROM sqlite_master WHERE type = 'index' AND tbl_name = " +
                            DASUtils::convertToDBFormat(m_table) +
                            " COLLATE NOCASE AND sql IS NOT NULL;";
    if (m_adapter.executeSQLQuery(sql, rows) != 0) {
        return false;
    }
    for (const auto& row : rows) {
        m_indices.push_back(row.at(0));
    }
    return true;
}

/// Whether each row was copied; rows with the same key count once.
bool TableRebuild::keepsAllRows() {
    const std::string before = DASUtils::countOf(m_adapter, m_aside);
    const std::string after = before.empty() ? before : DASUtils::countOf(m_adapter, m_table);
    if (after.empty()) {
        return false;
    }
    if (before == after || keyColumns().empty()) {
        return before == after;
    }
    std::string expected;
    m_adapter.getRowCount(
        "SELECT COUNT(*) FROM (SELECT DISTINCT " + keyValues() + " FROM " + m_aside + ");",
        expected);
    DAS_LOG(2, "Of the %s rows of %s, %s stay: those of one key are doubled, and the last counts",
            before.c_str(), m_table.c_str(), after.c_str());
    return after == expected;
}

/// The columns of a key that clients assign: those of "PRIMARY KEY (One, Other)", or one text
/// column.
std::vector<const DASUtils::ColumnInfo*> TableRebuild::keyColumns() const {
    const std::string& key = m_dao.constraint();
    const auto begin = key.find('(') + 1;
    const auto names =
        ClientUtils::tokenizeString(key.substr(begin, key.find(')') - begin), ",", false, true);
    std::vector<const Column*> columns;
    for (const Column& column : m_dao.columns()) {
        if (isTextKey(column) || StepHelpers::hasColumn(names, column.name)) {
            columns.push_back(&column);
        }
    }
    return columns;
}

/// The values of the key, in the form in which they will be stored.
std::string TableRebuild::keyValues() const {
    std::vector<std::string> values;
    for (const Column* column : keyColumns()) {
        values.push_back("CAST(" + valueOf(*column) + " AS TEXT)");
    }
    return ClientUtils::join(values, ", ");
}

/// Carries the numbering over, so that numbers of deleted rows are not assigned again.
bool TableRebuild::carryNumbering() {
    if (std::none_of(m_dao.columns().begin(), m_dao.columns().end(), isNumbered)) {
        return true;
    }
    const std::string table = DASUtils::convertToDBFormat(m_table);
    const std::string both = "(" + table + ", " + DASUtils::convertToDBFormat(m_aside) + ")";
    return execute("INSERT INTO sqlite_sequence (name, seq) SELECT " + table +
                   ", 0 WHERE NOT EXISTS (SELECT 1 FROM sqlite_sequence WHERE name = " + table +
                   ");") &&
           execute(
               "UPDATE sqlite_sequence SET seq = (SELECT MAX(seq) FROM sqlite_sequence WHERE "
               "name IN " +
               both + ") WHERE name = " + table + ";");
}

/// If an index can't be created, for example over a dropped column, reads are slower, but no row is
/// lost.
void TableRebuild::makeIndices() {
    for (const std::string& index : m_indices) {
        if (!execute(index)) {
            DAS_LOG(2, "Without an index of %s: %s", m_table.c_str(), index.c_str());
        }
    }
}
