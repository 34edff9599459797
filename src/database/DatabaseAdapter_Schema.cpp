// Statements that change the shape of the database, and copies between tables.

#include <sqlite3.h>

#include <algorithm>
#include <array>

#include "DASUtilsStrings.h"
#include "Log.h"
#include "database/AdapterGuards.h"
#include "database/DatabaseAdapter.h"
#include "database/SqlText.h"

int DatabaseAdapter::createTable(const std::string& table, PairList& columns) {
    std::string sql = "CREATE TABLE " + table + " (";
    SqlText::appendJoined(sql, columns, ", ", [&sql](const auto& column) {
        sql.append(column.first).append(column.second.empty() ? "" : " ").append(column.second);
    });
    columns.clear();
    sql += ");";
    DAS_LOG(5, "%s", sql.c_str());
    return executeNonQuery(sql);
}

int DatabaseAdapter::dropTable(std::string table) {
    PairList all;
    std::string count;
    getRowCount(table, all, count);
    // An empty table stays, except the call log: kept on purpose, a first request relies on the
    // empty table.
    if (count == "0" && table != DASUtilsStrings::CallLogTableName) {
        return 1;
    }
    const std::string sql = "DROP TABLE " + table + ";";
    DAS_LOG(5, "%s", sql.c_str());
    return executeNonQuery(sql);
}

int DatabaseAdapter::addColumn(const std::string& table, const std::string& column,
                               const std::string& type, bool withDefault) {
    std::string sql = "ALTER TABLE " + table + " ADD COLUMN " + column + " " + type;
    if (withDefault) {
        sql += type == DASUtilsStrings::columnTypeInteger ? " DEFAULT '0'" : " DEFAULT ''";
    }
    return executeNonQuery(sql);
}

bool DatabaseAdapter::changesTexts(const std::string& table, const std::string& column) {
    AdapterLock lock(*this);
    sqlite3* const db = connection();
    const char* type = nullptr;
    if (db == nullptr ||
        sqlite3_table_column_metadata(db, "main", table.c_str(), column.c_str(), &type, nullptr,
                                      nullptr, nullptr, nullptr) != SQLITE_OK ||
        type == nullptr || *type == '\0') {
        return false;
    }
    const auto has = [type](const char* pattern) { return sqlite3_strlike(pattern, type, 0) == 0; };
    // SQLite's own rules: if several of these words occur in a type, the first one decides.
    constexpr std::array<const char*, 4> keepTexts = {"%CHAR%", "%CLOB%", "%TEXT%", "%BLOB%"};
    return has("%INT%") || std::none_of(keepTexts.begin(), keepTexts.end(), has);
}

bool DatabaseAdapter::indexExists(std::string, std::string index) {
    unsigned char found = 0;
    AdapterLock lock(*this);
    (void)actualSQLiteCommandExecution("PRAGMA index_info( " + index + " );", sqliteCallBackForRows,
                                       &found);
    return found != 0;
}

void DatabaseAdapter::createIndicesForTable(const std::string& table,
                                            const std::vector<std::string>& columns) {
    for (const std::string& column : columns) {
        if (!indexExists(table, column + "_INDEX")) {
            // A failure is in the log. The other indices are still useful.
            (void)executeNonQuery("CREATE INDEX " + column + "_INDEX " + " ON " + table + " ( " +
                                  column + " );");
        }
    }
}

int DatabaseAdapter::alterTableName(std::string oldName, std::string newName) {
    PairList all;
    std::string count;
    getRowCount(oldName, all, count);
    if (count == "0") {
        DAS_LOG(2, "DatabaseAdapter::alterTableName TABLE %s does not exist", oldName.c_str());
        return 1;
    }
    const int code = renameTable(oldName, newName);
    if (code != 0) {
        DAS_LOG(2, "DatabaseAdapter::alterTableName ALTER TABLE %s failed", oldName.c_str());
    }
    return code;
}

int DatabaseAdapter::renameTable(const std::string& oldName, const std::string& newName) {
    const std::string sql = "ALTER TABLE " + oldName + " RENAME TO " + newName + ";";
    DAS_LOG(5, "%s", sql.c_str());
    AdapterLock lock(*this);
    // Without this, SQLite rewrites the views over the table, and refuses if any view is broken.
    (void)executeNonQuery("PRAGMA legacy_alter_table=ON;");
    const int code = executeNonQuery(sql);
    (void)executeNonQuery("PRAGMA legacy_alter_table=OFF;");
    return code;
}

std::string DatabaseAdapter::freeTableName(const std::string& wanted) {
    std::string name = wanted;
    for (int number = 2;; ++number) {
        Rows rows;
        if (executeSQLQuery(
                "SELECT name FROM sqlite_master WHERE name = '" + name + "' COLLATE NOCASE;",
                rows) != 0) {
            return {};
        }
        if (rows.empty()) {
            return name;
        }
        name = wanted + "_" + std::to_string(number);
    }
}

int DatabaseAdapter::copyDataOfTableToAnother(std::string from, std::string to,
                                              std::vector<std::string> excludedColumns) {
    std::vector<std::string> names;
    if (getColumnNames(from, names) == 0) {
        DAS_LOG(2, "copyDataOfTableToAnother - getColumnNames failed");
        return 1;
    }
    std::string columns;
    for (const std::string& name : names) {
        if (std::find(excludedColumns.begin(), excludedColumns.end(), name) ==
            excludedColumns.end()) {
            columns += columns.empty() ? "" : ", ";
            columns += name;
        }
    }
    const int code = executeNonQuery("INSERT INTO " + to + "(" + columns + ") SELECT " + columns +
                                     " FROM " + from + ";");
    if (code != 0) {
        DAS_LOG(2,
                "DatabaseAdapter::copyDataOfTableTOAnother importing data from old table failed");
    }
    return code;
}
