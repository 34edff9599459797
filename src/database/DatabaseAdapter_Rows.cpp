// Statements that change rows.

#include <sqlite3.h>

#include <algorithm>
#include <stdexcept>

#include "ClientUtils.h"
#include "Log.h"
#include "database/AdapterGuards.h"
#include "database/DatabaseAdapter.h"
#include "database/SqlText.h"

namespace {

std::size_t joinedSize(const std::vector<std::string>& texts) {
    std::size_t size = 2 * texts.size();
    for (const std::string& text : texts) {
        size += text.size();
    }
    return size;
}

}  // namespace

int DatabaseAdapter::insertShared(const std::string& table, const std::vector<std::string>& columns,
                                  const std::vector<std::string>& values, long long* rowId) {
    std::string sql;
    sql.reserve(48 + table.size() + joinedSize(columns) + joinedSize(values));
    sql += "INSERT OR REPLACE INTO ";
    sql += table;
    if (!columns.empty()) {
        sql += " (";
        SqlText::appendJoined(sql, columns, ", ");
        sql += ')';
    }
    sql += " VALUES (";
    SqlText::appendJoined(sql, values, ", ");
    sql += ");";
    if (m_isRequestContentShowableOnTheAurelTrace) {
        DAS_LOG(5, "SQL %s", forLog(sql).c_str());
    }
    AdapterLock lock(*this);
    const int code = executeNonQuery(sql);
    if (code == SQLITE_OK && rowId != nullptr && connection() != nullptr) {
        *rowId = sqlite3_last_insert_rowid(connection());
    }
    return code;
}

int DatabaseAdapter::insertRow(const std::string& table, const std::vector<std::string>& columns,
                               const std::vector<std::string>& values, long long* rowId) {
    return m_type == SqliteAdapterType ? insertShared(table, columns, values, rowId) : 1;
}

int DatabaseAdapter::insert(const std::string& table, std::vector<std::string>& values,
                            long long* rowId) {
    const int code = insertRow(table, {}, values, rowId);
    values.clear();
    return convertSQLiteStatusToAdapterStatus(code);
}

int DatabaseAdapter::insert(const std::string& table, const PairList& values, long long* rowId) {
    std::vector<std::string> known;
    if (m_type != SqliteAdapterType || !readColumnNames(table, known)) {
        return 1;
    }
    std::vector<std::string> columns;
    std::vector<std::string> texts;
    columns.reserve(values.size());
    texts.reserve(values.size());
    for (const auto& [name, value] : values) {
        if (std::find(known.begin(), known.end(), name) == known.end()) {
            throw std::out_of_range("no column " + name + " in table " + table);
        }
        columns.push_back(name);
        texts.push_back(value);
    }
    return convertSQLiteStatusToAdapterStatus(insertRow(table, columns, texts, rowId));
}

int DatabaseAdapter::lookBeforeUpdate(const std::string& table, bool& isEmpty) {
    const AdapterLock lock(*this);
    // At level 6 the log shows each count, so the rows are counted.
    if (m_tablesWithRows.count(table) != 0 && !loggingOnAppUni("DataAccessService", 6)) {
        isEmpty = false;
        return 0;
    }
    const int result = lookForRows(table, isEmpty);
    if (!isEmpty) {
        m_tablesWithRows.insert(table);
    }
    return result;
}

int DatabaseAdapter::update(std::string table, PairList& andList, PairList& newValues,
                            bool skipEmptyCheck) {
    PairList orList;
    PairList notList;
    return update(std::move(table), andList, orList, notList, newValues, skipEmptyCheck);
}

int DatabaseAdapter::update(std::string table, PairList& andList, PairList& orList,
                            PairList& notList, PairList& newValues, bool skipEmptyCheck) {
    if (!skipEmptyCheck) {
        bool isEmpty = false;
        if (lookBeforeUpdate(table, isEmpty) != 0) {
            return 1;
        }
        if (isEmpty) {
            return 0;
        }
    }
    std::string sql;
    sql.reserve(StatementSize);
    sql += "UPDATE ";
    sql += table;
    sql += " SET ";
    SqlText::appendJoined(sql, newValues, ", ", [&sql](const auto& pair) {
        sql.append(pair.first).append(" = ").append(pair.second);
    });
    newValues.clear();
    sql += concatWhereCondition(andList, orList, notList);
    sql += ';';
    // Unlike an insert, the statement is logged whatever the trace flag is: kept on purpose, the
    // masking makes it safe.
    DAS_LOG(5, "%s", forLog(sql).c_str());
    return executeNonQuery(sql);
}

int DatabaseAdapter::deleteRow(const std::string& table, PairList& andList) {
    PairList orList;
    PairList notList;
    return deleteRow(table, andList, orList, notList);
}

int DatabaseAdapter::deleteRow(const std::string& table, PairList& andList, PairList& orList,
                               PairList& notList) {
    AdapterLock lock(*this);
    // Within a batch of deletes the rows are counted only once, since each count reads the whole
    // table.
    if (!isInTransaction() || m_counted.rows <= 0 || m_counted.table != table) {
        PairList all;
        std::string count;
        getRowCount(table, all, count);
        if (count == "0") {
            // The opposite of an update: kept on purpose, "nothing to delete" is a failure.
            return 1;
        }
        m_counted = {table, ClientUtils::stoi(count)};
    }
    std::string sql = "DELETE FROM " + table + " ";
    sql += concatWhereCondition(andList, orList, notList);
    sql += ';';
    DAS_LOG(5, "%s", forLog(sql).c_str());
    const Counted before = m_counted;
    const int code = executeNonQuery(sql);
    if (code == SQLITE_OK) {
        m_counted = {table, before.rows - sqlite3_changes(connection())};
    }
    return code;
}
