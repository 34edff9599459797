// Statements that read: built from lists of conditions, with their rows collected.

#include <sqlite3.h>

#include <utility>

#include "Log.h"
#include "database/AdapterGuards.h"
#include "database/DatabaseAdapter.h"
#include "database/SqlText.h"
#include "database/Statement.h"

namespace {

/// Rows of this many bytes are passed on at once, where rows are passed on in pieces.
constexpr std::size_t SizeOfPiece = std::size_t{256} * 1024;
/// A read of this many pieces is larger than SQLite's cache: its pages help no later read.
constexpr int PiecesOfLargeRead = 4;

using Pair = PairList::value_type;

bool contains(const std::string& text, const char* part) {
    return text.find(part) != std::string::npos;
}

bool startsWith(const std::string& text, const char* start) {
    return text.rfind(start, 0) == 0;
}

void appendColumns(std::string& sql, const std::vector<std::string>& columns) {
    if (columns.empty()) {
        sql += "* ";
        return;
    }
    SqlText::appendJoined(sql, columns, ", ");
    sql += ' ';
}

void appendComparison(std::string& sql, const Pair& pair, const char* comparison) {
    sql += pair.first;
    sql += comparison;
    sql += pair.second;
}

/// A pattern contains its own operator; a value in database form never begins like a pattern.
void appendEquality(std::string& sql, const Pair& pair) {
    appendComparison(sql, pair, startsWith(pair.second, "LIKE '") ? " " : " = ");
}

/// Neighbouring conditions on the same column are alternatives (OR). They have no brackets: kept on
/// purpose, stored requests of clients rely on the resulting SQL precedence.
void appendAndList(std::string& sql, const PairList& andList) {
    const std::string* previous = nullptr;
    for (const Pair& pair : andList) {
        if (previous != nullptr) {
            sql += *previous == pair.first ? " OR " : " AND ";
        }
        appendEquality(sql, pair);
        previous = &pair.first;
    }
}

void appendNot(std::string& sql, const Pair& pair) {
    const bool isSubquery = contains(pair.second, "SELECT") && contains(pair.second, "FROM");
    appendComparison(sql, pair, isSubquery ? " NOT IN " : " <> ");
}

void appendGroupBy(std::string& sql, std::vector<std::string>& groupBy) {
    if (groupBy.empty()) {
        return;
    }
    sql += " GROUP BY ";
    SqlText::appendJoined(sql, groupBy, ", ");
    groupBy.clear();
}

void appendOrderBy(std::string& sql, PairList& orderBy, bool blankBehindEachName) {
    if (orderBy.empty()) {
        return;
    }
    sql += " ORDER BY ";
    SqlText::appendJoined(sql, orderBy, ", ", [&](const Pair& pair) {
        sql += pair.first;
        if (blankBehindEachName || !pair.second.empty()) {
            sql += ' ';
        }
        sql += pair.second;
    });
    orderBy.clear();
}

void appendSearchTerm(std::string& sql, const Pair& pair) {
    appendComparison(sql, pair, contains(pair.second, "LIKE ") ? " " : " = ");
}

}  // namespace

std::string DatabaseAdapter::concatWhereCondition(PairList& andList) {
    PairList none;
    return concatWhereCondition(andList, none, none);
}

std::string DatabaseAdapter::concatWhereCondition(PairList& andList, PairList& orList) {
    PairList none;
    return concatWhereCondition(andList, orList, none);
}

std::string DatabaseAdapter::concatWhereCondition(PairList& andList, PairList& orList,
                                                  PairList& notList) {
    if (andList.empty() && orList.empty() && notList.empty()) {
        return {};
    }
    std::string sql;
    sql.reserve(StatementSize);
    sql += " WHERE ";
    appendAndList(sql, andList);
    if (!andList.empty() && !(orList.empty() && notList.empty())) {
        sql += " AND ";
    }
    if (!orList.empty()) {
        sql += " ( ";
        SqlText::appendJoined(sql, orList, " OR ",
                              [&sql](const Pair& pair) { appendComparison(sql, pair, " = "); });
        sql += " ) ";
        if (!notList.empty()) {
            sql += " AND ";
        }
    }
    SqlText::appendJoined(sql, notList, " AND ",
                          [&sql](const Pair& pair) { appendNot(sql, pair); });
    andList.clear();
    orList.clear();
    notList.clear();
    return sql;
}

int DatabaseAdapter::executeQuery(const std::string& table, const std::vector<std::string>& columns,
                                  const PairList& where, PairList& orderBy, Rows& rows,
                                  std::string offset, std::string limit) {
    PairList andList = where;
    PairList orList;
    PairList notList;
    return executeQuery(table, columns, andList, orList, notList, orderBy, rows, std::move(offset),
                        std::move(limit));
}

int DatabaseAdapter::executeQuery(const std::string& table, const std::vector<std::string>& columns,
                                  const PairList& where, std::vector<std::string>& groupBy,
                                  PairList& orderBy, Rows& rows, std::string offset,
                                  std::string limit) {
    return executeQuery(table, columns, where, std::string(), groupBy, orderBy, rows,
                        std::move(offset), std::move(limit));
}

int DatabaseAdapter::executeQuery(const std::string& table, const std::vector<std::string>& columns,
                                  const PairList& where, const std::string& join,
                                  std::vector<std::string>& groupBy, PairList& orderBy, Rows& rows,
                                  std::string offset, std::string limit) {
    PairList andList = where;
    PairList orList;
    PairList notList;
    return executeQuery(table, columns, andList, orList, notList, join, groupBy, orderBy, rows,
                        std::move(offset), std::move(limit));
}

int DatabaseAdapter::executeQuery(const std::string& table, const std::vector<std::string>& columns,
                                  PairList& andList, PairList& orList, PairList& notList,
                                  PairList& orderBy, Rows& rows, std::string offset,
                                  std::string limit) {
    std::vector<std::string> groupBy;
    return executeQuery(table, columns, andList, orList, notList, std::string(), groupBy, orderBy,
                        rows, std::move(offset), std::move(limit));
}

int DatabaseAdapter::executeQuery(const std::string& table, const std::vector<std::string>& columns,
                                  PairList& andList, PairList& orList, PairList& notList,
                                  const std::string& join, std::vector<std::string>& groupBy,
                                  PairList& orderBy, Rows& rows, std::string offset,
                                  std::string limit) {
    rows.clear();
    std::string sql;
    sql.reserve(StatementSize);
    sql += "SELECT ";
    appendColumns(sql, columns);
    sql += "FROM ";
    sql += table;
    if (!join.empty()) {
        sql += ' ';
        sql += join;
    }
    sql += concatWhereCondition(andList, orList, notList);
    appendGroupBy(sql, groupBy);
    appendOrderBy(sql, orderBy, false);
    if (!limit.empty() && !offset.empty()) {
        sql += " LIMIT " + limit + " OFFSET " + offset;
    }
    sql += ';';
    DAS_LOG(5, "%s", forLog(sql).c_str());
    return executeSQLQuery(sql, rows);
}

int DatabaseAdapter::actualSearchQuery(const std::string& table,
                                       const std::vector<std::string>& columns,
                                       const PairList& where, PairList& orderBy, Rows& rows,
                                       std::string, std::string limit) {
    const Pair& common = where.at(0);
    std::string sql;
    for (std::size_t i = 1; i < where.size(); ++i) {
        sql += i == 1 ? "SELECT " : "UNION SELECT ";
        appendColumns(sql, columns);
        sql += "FROM ";
        sql += table;
        sql += " WHERE ";
        appendSearchTerm(sql, common);
        sql += " AND ";
        appendSearchTerm(sql, where[i]);
        sql += ' ';
    }
    appendOrderBy(sql, orderBy, true);
    if (!limit.empty()) {
        sql += " LIMIT " + limit;
    }
    sql += " ;";
    DAS_LOG(5, "%s", forLog(sql).c_str());
    return executeActualSearchQuery(sql, rows);
}

int DatabaseAdapter::executeSQLQuery(const std::string& sql, Rows& rows) {
    return collectRows(sql, rows, true, "executeSQLQuery:Row count = %d");
}

int DatabaseAdapter::executeActualSearchQuery(const std::string& sql, Rows& rows) {
    // A failed prepare does not return here: kept on purpose, the count is always logged.
    return collectRows(sql, rows, false, "Row count = %d");
}

int DatabaseAdapter::collectRows(const std::string& sql, Rows& rows, bool stopAtFailedPrepare,
                                 const char* countFormat) {
    rows.clear();
    AdapterLock lock(*this);
    Statement statement(m_statements, connection(), sql);
    if (!isReady(statement, sql) && stopAtFailedPrepare) {
        return 1;
    }
    int code = statement.step();
    int count = 0;
    std::size_t size = 0;
    int pieces = 0;
    for (const int columns = statement.columnCount(); code == SQLITE_ROW; code = statement.step()) {
        std::vector<std::string>& row = rows.emplace_back();
        row.reserve(static_cast<std::size_t>(columns));
        for (int column = 0; column < columns; ++column) {
            row.push_back(statement.text(column));
            size += sizeof(std::string) + row.back().size();
        }
        ++count;
        if (m_drain != nullptr && size > SizeOfPiece) {
            size = 0;
            ++pieces;
            if (!(*m_drain)(rows)) {
                return 1;  // the receiver of the rows logs the reason
            }
        }
    }
    DAS_LOG(5, countFormat, count);
    logFailedStep(statement, code, sql);
    if (pieces >= PiecesOfLargeRead) {
        releaseMemory();
    }
    return code == SQLITE_DONE ? 0 : 1;
}

int DatabaseAdapter::forEachRow(const std::string& sql,
                                const std::function<void(const std::vector<std::string>&)>& visit) {
    AdapterLock lock(*this);
    Statement statement(connection(), sql);
    if (!isReady(statement, sql)) {
        return 1;
    }
    std::vector<std::string> row(static_cast<std::size_t>(statement.columnCount()));
    int code = statement.step();
    for (; code == SQLITE_ROW; code = statement.step()) {
        for (std::size_t column = 0; column < row.size(); ++column) {
            row[column] = statement.text(static_cast<int>(column));
        }
        visit(row);
    }
    logFailedStep(statement, code, sql);
    return code == SQLITE_DONE ? 0 : 1;
}

int DatabaseAdapter::getColumnCount(const std::string& sql) {
    AdapterLock lock(*this);
    Statement statement(connection(), sql);
    (void)isReady(statement, sql);
    return statement.columnCount();
}

std::string DatabaseAdapter::getColumnName(const std::string& sql, int index) {
    AdapterLock lock(*this);
    Statement statement(connection(), sql);
    (void)isReady(statement, sql);
    return statement.columnName(index);
}

int DatabaseAdapter::getColumnNames(const std::string& table, std::vector<std::string>& names) {
    const std::string sql = "SELECT * FROM " + table + ";";
    AdapterLock lock(*this);
    Statement statement(connection(), sql);
    if (!isReady(statement, sql)) {
        return 0;
    }
    for (std::string& name : statement.columnNames()) {
        names.push_back(std::move(name));
    }
    return 1;
}

bool DatabaseAdapter::readColumnNames(const std::string& table, std::vector<std::string>& names) {
    const bool isRead = getColumnNames(table, names) == 1;
    if (names.empty()) {
        DAS_LOG(5, "DatabaseAdapter - SQL Query returning NULL");
    }
    return isRead && !names.empty();
}

bool DatabaseAdapter::isTableKnown(const std::string& table) {
    AdapterLock lock(*this);
    sqlite3* const db = connection();
    return db != nullptr &&
           sqlite3_table_column_metadata(db, "main", table.c_str(), nullptr, nullptr, nullptr,
                                         nullptr, nullptr, nullptr) == SQLITE_OK;
}

bool DatabaseAdapter::isTableThere(const std::string& table) {
    if (isTableKnown(table)) {
        return true;
    }
    // A view counts as well. The log then shows why an existing table can't be read.
    std::vector<std::string> names;
    return getColumnNames(table, names) != 0;
}

std::string DatabaseAdapter::countStatement(const std::string& table, PairList& andList) {
    std::string sql = "SELECT COUNT(*) FROM " + table;
    sql += concatWhereCondition(andList);
    DAS_LOG(6, "%s", forLog(sql).c_str());
    return sql;
}

int DatabaseAdapter::getRowCount(std::string table, PairList& andList, std::string& count) {
    return getRowCount(countStatement(table, andList), count);
}

int DatabaseAdapter::getRowCount(const std::string& sql, std::string& count) {
    // Always success, kept on purpose: a missing table counts as empty and is then created.
    (void)readRowCount(sql, sql, count);
    return 0;
}

int DatabaseAdapter::countRows(const std::string& table, PairList& andList, std::string& count) {
    const std::string sql = countStatement(table, andList);
    return readRowCount(sql, sql, count) ? 0 : 1;
}

int DatabaseAdapter::lookForRows(const std::string& table, bool& isEmpty) {
    PairList all;
    const std::string whole = countStatement(table, all);
    std::string first;  // enough to know, if the log does not show the count
    first.reserve(StatementSize);
    first.append("SELECT COUNT(*) FROM (SELECT 1 FROM ").append(table).append(" LIMIT 1);");
    std::string count;
    const bool isCounted =
        readRowCount(loggingOnAppUni("DataAccessService", 6) ? whole : first, whole, count);
    isEmpty = count == "0";
    return isCounted ? 0 : 1;
}

bool DatabaseAdapter::isKnownToBeEmpty(const std::string& table) {
    bool isEmpty = false;
    return lookForRows(table, isEmpty) == 0 && isEmpty;
}

bool DatabaseAdapter::readRowCount(const std::string& sql, const std::string& shown,
                                   std::string& count) {
    count = "0";
    AdapterLock lock(*this);
    Statement statement(m_statements, connection(), sql);
    (void)isReady(statement, shown);
    const int code = statement.step();
    if (code != SQLITE_ROW) {
        logFailedStep(statement, code, shown);
        return false;
    }
    if (!statement.isNull(0)) {
        count = statement.text(0);
        DAS_LOG(6, "row count:%s", count.c_str());
    }
    return true;
}
