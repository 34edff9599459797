// What an object does for the two users of its table: copies, wipes, and the visitor's passwords.

#include "dao/DataAccessObject.h"
#include "database/AdapterGuards.h"
#include "database/DatabaseAdapter.h"
#include "database/Logging.h"

namespace {

constexpr const char* LogComponent = "DataAccessService";
constexpr const char* LogSource = "./src/DataAccessObject";

const char* const itemNameColumn = "Name";

std::string quotedVisitor() {
    return DASUtils::convertToDBFormat(DASUtilsStrings::UserContextVisitor);
}

}  // namespace

int DataAccessObject::copyBaseDataToVisitor() {
    return copyBaseDataToVisitor(DASUtilsStrings::UserContextTagName, m_tableName);
}

bool DataAccessObject::isKnownToBeMissing(const std::string& table) {
    PairList conditions = {{"name", DASUtils::escapeAndQuote(table)}};
    std::string count;
    return m_dbAdapter->countRows("sqlite_master", conditions, count) == 0 && count == "0";
}

int DataAccessObject::contextColumnIndex(const std::string& table,
                                         const std::string& contextColumn) {
    const std::string sql = "SELECT * FROM " + table + ";";
    const int count = m_dbAdapter->getColumnCount(sql);
    for (int index = 0; index < count; ++index) {
        if (m_dbAdapter->getColumnName(sql, index) == contextColumn) {
            return index;
        }
    }
    return -1;
}

int DataAccessObject::copyBaseDataToVisitor(const std::string& contextColumn,
                                            const std::string& table) {
    if (m_dbAdapter == nullptr) {
        return 1;
    }
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
    PairList visitor = {{contextColumn, quotedVisitor()}};
    std::string count;
    const bool isCounted = m_dbAdapter->countRows(table, visitor, count) == 0;
    if (!isCounted && isKnownToBeMissing(table)) {
        return 0;  // the first request makes it, with rows for both users
    }
    if (!isCounted || (count != "0" && deleteContextData(DASUtilsStrings::UserContextVisitor,
                                                         contextColumn, table) != 0)) {
        DAS_LOG(2, "Failed to delete visitor data, table = [%s].", table.c_str());
        return 1;
    }
    Rows rows;
    PairList orderBy;
    const std::string base = DASUtils::convertToDBFormat(DASUtilsStrings::UserContextBase);
    const int read =
        m_dbAdapter->executeQuery(table, {}, {{contextColumn, base}}, orderBy, rows, "", "");
    if (read != 0) {
        DAS_LOG(2, "Failed to read 'base' data, table = [%s].", table.c_str());
        return read;
    }
    if (rows.empty()) {
        return 0;
    }
    const int index = contextColumnIndex(table, contextColumn);
    if (index < 0) {
        DAS_LOG(2, "Table [%s] does not have a mobility context column", table.c_str());
        return 1;
    }
    return copyRowsToVisitor(rows, static_cast<std::size_t>(index), table);
}

int DataAccessObject::copyRowsToVisitor(Rows& rows, std::size_t contextIndex,
                                        const std::string& table) {
    for (auto& row : rows) {
        bool isLeftOut = false;
        for (std::size_t i = 0; i < row.size(); ++i) {
            isLeftOut = isLeftOut || (i != contextIndex && !DASUtils::isSafeBetweenQuotes(row[i]));
            row[i] = i == contextIndex ? quotedVisitor() : DASUtils::convertToDBFormat(row[i]);
        }
        const int inserted = isLeftOut ? 0 : m_dbAdapter->insert(table, row, nullptr);
        if (isLeftOut || inserted != 0) {
            DAS_LOG(2, "Cannot create vistor data row, table = [%s]", table.c_str());
        }
        if (inserted != 0) {
            return inserted;  // a guest must not get a part of his keys
        }
    }
    return 0;
}

int DataAccessObject::deleteContextData(const std::string& context) {
    return deleteContextData(context, DASUtilsStrings::UserContextTagName, m_tableName);
}

int DataAccessObject::deleteContextData(const std::string& context,
                                        const std::string& contextColumn,
                                        const std::string& table) {
    if (m_dbAdapter == nullptr) {
        return 1;
    }
    const bool isQuoted = context.size() >= 2 && context.front() == '\'' &&
                          context.back() == '\'' &&
                          DASUtils::isSafeBetweenQuotes(context.substr(1, context.size() - 2));
    PairList conditions = {{contextColumn, isQuoted ? context : DASUtils::escapeAndQuote(context)}};
    return m_dbAdapter->deleteRow(table, conditions);
}

int DataAccessObject::deleteVisitorItems(const std::string& table,
                                         const std::vector<std::string>& items) {
    if (m_dbAdapter == nullptr) {
        return 1;
    }
    int result = 1;
    for (const std::string& item : items) {
        PairList conditions = {{DASUtilsStrings::UserContextTagName, quotedVisitor()},
                               {itemNameColumn, item}};
        result = m_dbAdapter->deleteRow(table, conditions);
    }
    return result;
}

int DataAccessObject::deleteVisitorUserPassword(const std::string& table) {
    return deleteVisitorItems(table, {"'UserHashedPwd'", "'UserStatus'", "'UserChangedBy'",
                                      "'UserMD5Hash'", "'UserPassword'"});
}

int DataAccessObject::deleteUcCredentials(const std::string& table) {
    return deleteVisitorItems(table, {"'WSIUsername'", "'WSIPassword'"});
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
