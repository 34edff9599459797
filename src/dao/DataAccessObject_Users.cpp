// Operations on a table for its two users: copies, deletions, and the visitor's passwords.

#include "Log.h"
#include "dao/DataAccessObject.h"
#include "database/AdapterGuards.h"
#include "database/DatabaseAdapter.h"

namespace {

const char* const ItemNameColumn = "Name";

std::string quotedVisitor() {
    return DASUtils::convertToDBFormat(DASUtilsStrings::UserContextVisitor);
}

/// False also if the database can't be read.
bool isKnownToBeMissing(DatabaseAdapter& adapter, const std::string& table) {
    return DASUtils::countOf(adapter, "sqlite_master",
                             {{"name", DASUtils::escapeAndQuote(table)}}) == "0";
}

int contextColumnIndex(DatabaseAdapter& adapter, const std::string& table,
                       const std::string& contextColumn) {
    const std::string sql = "SELECT * FROM " + table + ";";
    const int count = adapter.getColumnCount(sql);
    for (int index = 0; index < count; ++index) {
        if (adapter.getColumnName(sql, index) == contextColumn) {
            return index;
        }
    }
    return -1;
}

int copyRowsToVisitor(DatabaseAdapter& adapter, Rows& rows, std::size_t contextIndex,
                      const std::string& table) {
    for (auto& row : rows) {
        bool isLeftOut = false;
        for (std::size_t i = 0; i < row.size(); ++i) {
            isLeftOut = isLeftOut || (i != contextIndex && !DASUtils::isSafeBetweenQuotes(row[i]));
            row[i] = i == contextIndex ? quotedVisitor() : DASUtils::convertToDBFormat(row[i]);
        }
        const int inserted = isLeftOut ? 0 : adapter.insert(table, row, nullptr);
        if (isLeftOut || inserted != 0) {
            DAS_LOG(2, "Cannot create vistor data row, table = [%s]", table.c_str());
        }
        if (inserted != 0) {
            return inserted;  // a visitor must not get only a part of the owner's keys
        }
    }
    return 0;
}

int deleteVisitorItems(DatabaseAdapter& adapter, const std::string& table,
                       const std::vector<std::string>& items) {
    int result = 1;
    for (const std::string& item : items) {
        PairList conditions = {{DASUtilsStrings::UserContextTagName, quotedVisitor()},
                               {ItemNameColumn, item}};
        result = adapter.deleteRow(table, conditions);
    }
    return result;
}

}  // namespace

int DataAccessObject::copyBaseDataToVisitor() {
    return copyBaseDataToVisitor(DASUtilsStrings::UserContextTagName, m_tableName);
}

int DataAccessObject::copyBaseDataToVisitor(const std::string& contextColumn,
                                            const std::string& table) {
    DAS_LOG(5, "Copying base data to visitor for table [%s]", table.c_str());
    bool isBegun = false;
    bool isCopied = false;
    const auto copy = [&] {
        isBegun = true;
        const int copied = replaceByCopies(contextColumn, table);
        isCopied = copied == 0;
        return copied;
    };
    // No client may write a row of the visitor between the deletion and the copies.
    const int result = runWhole(*m_dbAdapter, copy, TransactionGuard::Locks::AtOnce);
    if (!isBegun || (isCopied && result != 0)) {
        DAS_LOG(2, "Failed to %s transaction", isBegun ? "end" : "begin");
    }
    return result;
}

int DataAccessObject::replaceByCopies(const std::string& contextColumn, const std::string& table) {
    const std::string count =
        DASUtils::countOf(*m_dbAdapter, table, {{contextColumn, quotedVisitor()}});
    if (count.empty() && isKnownToBeMissing(*m_dbAdapter, table)) {
        return 0;  // the first request creates the table with rows for both users
    }
    if (count.empty() || (count != "0" && deleteContextData(DASUtilsStrings::UserContextVisitor,
                                                            contextColumn, table) != 0)) {
        DAS_LOG(2, "Failed to delete visitor data, table = [%s].", table.c_str());
        return 1;
    }
    Rows rows;
    const std::string base = DASUtils::convertToDBFormat(DASUtilsStrings::UserContextBase);
    const int read = DASUtils::readRows(*m_dbAdapter, table, {}, {{contextColumn, base}}, rows);
    if (read != 0) {
        DAS_LOG(2, "Failed to read 'base' data, table = [%s].", table.c_str());
        return read;
    }
    if (rows.empty()) {
        return 0;
    }
    const int index = contextColumnIndex(*m_dbAdapter, table, contextColumn);
    if (index < 0) {
        DAS_LOG(2, "Table [%s] does not have a mobility context column", table.c_str());
        return 1;
    }
    return copyRowsToVisitor(*m_dbAdapter, rows, static_cast<std::size_t>(index), table);
}

int DataAccessObject::deleteContextData(const std::string& context) {
    return deleteContextData(context, DASUtilsStrings::UserContextTagName, m_tableName);
}

int DataAccessObject::deleteContextData(const std::string& context,
                                        const std::string& contextColumn,
                                        const std::string& table) {
    const bool isQuoted = context.size() >= 2 && context.front() == '\'' &&
                          context.back() == '\'' &&
                          DASUtils::isSafeBetweenQuotes(context.substr(1, context.size() - 2));
    PairList conditions = {{contextColumn, isQuoted ? context : DASUtils::escapeAndQuote(context)}};
    return m_dbAdapter->deleteRow(table, conditions);
}

int DataAccessObject::deleteVisitorUserPassword(const std::string& table) {
    return deleteVisitorItems(
        *m_dbAdapter, table,
        {"'UserHashedPwd'", "'UserStatus'", "'UserChangedBy'", "'UserMD5Hash'", "'UserPassword'"});
}

int DataAccessObject::deleteUcCredentials(const std::string& table) {
    return deleteVisitorItems(*m_dbAdapter, table, {"'WSIUsername'", "'WSIPassword'"});
}

int DataAccessObject::deleteVisitorPhonebook(const std::string& table) {
    return deleteContextData(DASUtilsStrings::UserContextVisitor,
                             DASUtilsStrings::UserContextTagName, table);
}

int DataAccessObject::deleteVisitorCallLog(const std::string& table) {
    return deleteContextData(DASUtilsStrings::UserContextVisitor,
                             DASUtilsStrings::UserContextTagName, table);
}

int DataAccessObject::deleteVisitorUserPassword() {
    return 0;
}

int DataAccessObject::deleteUcCredentials() {
    return 0;
}

int DataAccessObject::deleteVisitorPhonebook() {
    return 0;
}

int DataAccessObject::deleteVisitorCallLog() {
    return 0;
}
