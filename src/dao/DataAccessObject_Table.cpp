// What an object does for its table: creation, default rows, and lines of files.

#include "Log.h"
#include "Work.h"
#include "dao/DataAccessObject.h"
#include "database/AdapterGuards.h"
#include "database/DatabaseAdapter.h"

namespace {

const char* const RowIdColumn = "Id";

std::string quotedBase() {
    return DASUtils::convertToDBFormat(DASUtilsStrings::UserContextBase);
}

std::string quotedVisitor() {
    return DASUtils::convertToDBFormat(DASUtilsStrings::UserContextVisitor);
}

bool isUserOrRowColumn(const DASUtils::ColumnInfo& column) {
    return column.name == DASUtilsStrings::UserContextTagName ||
           column.name == DASUtilsStrings::IdTagName;
}

}  // namespace

TableLayout TableLayout::of(const std::string& schema, const std::string& table,
                            const PairList& columns) {
    TableLayout layout{schema, table, false, false, {}, {}};
    for (const auto& [name, type] : columns) {
        layout.columns.emplace_back(name, type, std::string());
    }
    return layout;
}

TableLayout TableLayout::ofKeys(const std::string& schema, const std::string& table,
                                const std::vector<std::string>& rowIds) {
    TableLayout layout = of(schema, table,
                            {{DASUtilsStrings::UserContextTagName, DASUtilsStrings::columnTypeText},
                             {DASUtilsStrings::IdTagName, DASUtilsStrings::columnTypeText}});
    layout.skipFirstColumn = true;
    layout.defaultRowIds = rowIds;
    return layout;
}

PairList DataAccessObject::namesAndTypes() const {
    PairList pairs;
    pairs.reserve(columns().size());
    for (const auto& column : columns()) {
        pairs.emplace_back(column.name, column.type);
    }
    return pairs;
}

int DataAccessObject::createTable() {
    PairList pairs = namesAndTypes();
    if (!m_layout->constraint.empty()) {
        pairs.emplace_back(m_layout->constraint, std::string());
    }
    return m_dbAdapter->createTable(m_tableName, pairs);
}

int DataAccessObject::forEachEntry(std::size_t count,
                                   const std::function<int(std::size_t)>& operation) {
    // Locks at the begin: if another process blocks the entries, this waits once and not at each of
    // them.
    TransactionGuard transaction(*m_dbAdapter, count > 0 ? TransactionGuard::Locks::AtOnce
                                                         : TransactionGuard::Locks::AtFirstWrite);
    m_couldNotBegin = transaction.beginResult() != 0;
    if (m_couldNotBegin) {
        return m_dbAdapter->convertSQLiteStatusToAdapterStatus(transaction.beginResult());
    }
    int result = 0;
    for (std::size_t entry = 0; entry < count && !Work::isInterrupted(); ++entry) {
        result = operation(entry);
        // Without the table nothing can be stored, and many failing entries would take long.
        if (result != 0 && entry == 0 && count > 1 && !m_dbAdapter->isTableThere(m_tableName)) {
            break;
        }
    }
    // If the commit failed, no entry of the batch is stored, whatever the result of the last one
    // was.
    const int ended = transaction.end();
    return result != 0 ? result : m_dbAdapter->convertSQLiteStatusToAdapterStatus(ended);
}

std::vector<std::string> DataAccessObject::columnNames() const {
    std::vector<std::string> names;
    names.reserve(columns().size());
    for (const auto& column : columns()) {
        names.push_back(column.name);
    }
    return names;
}

int DataAccessObject::createTableUnlessThere(PairList& newColumns) {
    AdapterLock lock(*m_dbAdapter);  // the lock keeps the error message that of the last statement
    if (m_dbAdapter->createTable(m_tableName, newColumns) == 0) {
        return 0;
    }
    return m_dbAdapter->getError().find("already exists") != std::string::npos ? 2 : 1;
}

bool DataAccessObject::createMissingTable() {
    return !m_dbAdapter->isTableThere(m_tableName) && createTable() == 0;
}

bool DataAccessObject::createTable2(const std::string& table, PairList& newColumns) {
    if (m_dbAdapter->createTable(table, newColumns) == 0) {
        return true;
    }
    DAS_LOG(5, "Cannot create table %s, error=%s", table.c_str(), m_dbAdapter->getError().c_str());
    return false;
}

int DataAccessObject::insertDefaultRow(const std::string& id, const std::string& context,
                                       int index) {
    std::vector<std::string> values;
    values.reserve(columns().size());
    values.push_back(context);
    values.push_back(DASUtils::convertToDBFormat(id));
    for (const auto& column : columns()) {
        if (!isUserOrRowColumn(column)) {
            const auto place = column.defaults.size() < 2 ? 0U : static_cast<std::size_t>(index);
            values.push_back(DASUtils::convertToDBFormat(column.defaults.at(place)));
        }
    }
    return m_dbAdapter->insert(m_tableName, values, nullptr);
}

bool DataAccessObject::isDefaultRowPresent(const std::string& table, const std::string& context,
                                           const std::string& id) {
    // If the lookup fails, the row counts as present, because it must not be inserted twice.
    return hasAdapter() &&
           DASUtils::countOf(*m_dbAdapter, table,
                             {{RowIdColumn, id}, {DASUtilsStrings::UserContextTagName, context}}) !=
               "0";
}

int DataAccessObject::insertDefaultRows() {
    return insertDefaultRows(false);
}

int DataAccessObject::insertDefaultRows(bool onlyMissing) {
    return forEachDefaultRow({quotedBase(), quotedVisitor()}, onlyMissing);
}

int DataAccessObject::insertDefaultRows(const std::string& context) {
    const bool isBase = context == DASUtilsStrings::UserContextBase;
    return forEachDefaultRow({isBase ? quotedBase() : quotedVisitor()}, false);
}

int DataAccessObject::insertDefaultRowsInTransaction(bool onlyMissing) {
    return insertRowsOf({quotedBase(), quotedVisitor()}, onlyMissing);
}

int DataAccessObject::forEachDefaultRow(const std::vector<std::string>& contexts,
                                        bool onlyMissing) {
    if (!hasAdapter()) {
        return 1;
    }
    // Another process may have found the table empty, too. If there are no default rows, nothing
    // will be inserted, so the request must not wait for a process that writes.
    const auto locks = defaultRowIds().empty() ? TransactionGuard::Locks::AtFirstWrite
                                               : TransactionGuard::Locks::AtOnce;
    const auto insert = [&] { return insertRowsOf(contexts, onlyMissing) == 0; };
    if (contexts.size() > 1) {
        // All rows or none: a table with some rows counts as complete, and only an empty one is
        // filled by a later request.
        (void)runWholeOrNot(*m_dbAdapter, insert, locks);
        return 0;  // a failure is only logged
    }
    TransactionGuard transaction(*m_dbAdapter, locks);
    if (transaction.beginResult() == 0) {
        (void)insert();
    }
    return 0;
}

int DataAccessObject::insertRowsOf(const std::vector<std::string>& contexts, bool onlyMissing) {
    if (!hasAdapter()) {
        return 1;
    }
    // In an empty table no row needs to be looked up.
    const bool ask = onlyMissing && !m_dbAdapter->isKnownToBeEmpty(m_tableName);
    int result = 0;
    int index = 0;
    for (const std::string& id : defaultRowIds()) {
        std::vector<const std::string*> missing;
        for (const std::string& context : contexts) {
            if (!ask || !isDefaultRowPresent(m_tableName, context, id)) {
                missing.push_back(&context);
            }
        }
        for (const std::string* context : missing) {
            const int inserted = insertDefaultRow(id, *context, index);
            if (inserted != 0 && contexts.size() > 1) {
                // SQLite may have rolled back the earlier rows; later ones would then be stored
                // alone.
                return inserted;
            }
            result = result != 0 ? result : inserted;
        }
        ++index;
    }
    return result;
}

int DataAccessObject::initialiseMobilityUserData(const std::string& context) {
    PairList conditions = {
        {DASUtilsStrings::UserContextTagName, DASUtils::escapeAndQuote(context)}};
    if (m_layout->hasDefaultRowsPerUser) {
        // If the deletion failed, the rows may still exist, and inserting would double them.
        const int deleted = m_dbAdapter->deleteRow(m_tableName, conditions);
        const bool mayInsert = deleted == 0 || m_dbAdapter->isKnownToBeEmpty(m_tableName);
        return mayInsert ? insertDefaultRows(context) : deleted;
    }
    PairList newValues;
    for (const auto& column : columns()) {
        if (!isUserOrRowColumn(column)) {
            newValues.emplace_back(column.name, DASUtils::convertToDBFormat(column.defaults.at(0)));
        }
    }
    return m_dbAdapter->update(m_tableName, conditions, newValues, false);
}

int DataAccessObject::updateItemInTable(const std::string& table, std::vector<std::string>& names,
                                        std::vector<std::string>& values) {
    if (!hasAdapter()) {
        return 1;
    }
    constexpr std::size_t keyColumns = 2;
    PairList conditions;
    PairList newValues;
    for (std::size_t i = 0; i < std::max(names.size(), keyColumns); ++i) {
        if (!DASUtils::isSafeBetweenQuotes(values.at(i))) {
            DAS_LOG(2, "update failed");
            return 1;
        }
        PairList& list = i < keyColumns ? conditions : newValues;
        list.emplace_back(names.at(i), DASUtils::convertToDBFormat(values.at(i)));
    }
    const int result = m_dbAdapter->update(table, conditions, newValues, false);
    if (result != 0) {
        DAS_LOG(2, "update failed");
    }
    return result;
}

int DataAccessObject::createPhonenumberIndices() {
    return 0;
}
