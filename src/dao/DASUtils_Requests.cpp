// The frame of a generic request and its two bodies.

#include <algorithm>
#include <cstdlib>
#include <optional>
#include <unordered_map>

#include "ClientUtils.h"
#include "DASUtilsStrings.h"
#include "Log.h"
#include "Work.h"
#include "dao/DASUtils.h"
#include "dao/DataAccessObject.h"
#include "database/AdapterGuards.h"
#include "database/ChangeScope.h"
#include "database/DatabaseAdapter.h"

namespace {

/// If a request has more rows than this, all its rows are looked up together.
constexpr std::size_t LargeBatch = 500;

PairList rowConditions(const std::string& user, const std::string& identifier) {
    return {{DASUtilsStrings::UserContextTagName, DASUtils::convertToDBFormat(user)},
            {DASUtilsStrings::IdTagName, identifier}};
}

void logNewValues(const PairList& newValues) {
    if (!loggingOnAppUni("DataAccessService", 6)) {
        return;
    }
    int index = 0;
    for (const auto& [name, value] : newValues) {
        DAS_LOG(6, "updateRequestHelper() newValues[%d] '%s' = '%s'", index++, name.c_str(),
                ClientUtils::hidePasswordDAS(name, value).c_str());
    }
}

int insertMissingRow(DatabaseAdapter& adapter, const std::string& table,
                     const DASUtils::RowData& row, const PairList& conditions,
                     long long* rowId = nullptr) {
    PairList values = row.newValues;
    values.insert(values.end(), conditions.begin(), conditions.end());
    const int result = adapter.insert(table, values, rowId);
    DAS_LOG(6, "updateRequestHelper() DatabaseAdapter::insert() returned %d", result);
    return result;
}

int updateFoundRow(DatabaseAdapter& adapter, const std::string& table, const DASUtils::RowData& row,
                   PairList& conditions) {
    PairList newValues = row.newValues;
    const int result = adapter.update(table, conditions, newValues, false);
    DAS_LOG(6, "updateRequestHelper() DatabaseAdapter::update() returned %d", result);
    return result;
}

/// The rows of a large batch that are already in the table. These tables have no key, so each
/// lookup of a single row reads the whole table: the time for a batch of new rows would grow with
/// the square of its size.
class KnownRows {
public:
    KnownRows(DatabaseAdapter& adapter, const std::string& user, const std::string& table,
              const std::vector<DASUtils::RowData>& batch) {
        std::string sql = "SELECT CAST(Id AS INTEGER), rowid FROM " + table + " WHERE " +
                          DASUtilsStrings::UserContextTagName + " = " +
                          DASUtils::convertToDBFormat(user) + " AND Id IN (0";
        for (const DASUtils::RowData& row : batch) {
            if (const std::string number = plain(row.identifier); !number.empty()) {
                sql += ',' + number;
            }
        }
        Rows rows;
        m_result = adapter.executeSQLQuery(sql + ");", rows);
        for (const auto& row : rows) {
            m_rowIds[row.at(0)].push_back(row.at(1));
        }
    }

    int store(DatabaseAdapter& adapter, const std::string& user, const std::string& table,
              const DASUtils::RowData& row) {
        const int result = updateOrInsert(adapter, user, table, row);
        ChangeScope::noteNumber(adapter, row.identifier, user);
        return result;
    }

private:
    int updateOrInsert(DatabaseAdapter& adapter, const std::string& user, const std::string& table,
                       const DASUtils::RowData& row) {
        const std::string number = plain(row.identifier);
        if (m_result != 0 || number.empty()) {
            return 1;
        }
        logNewValues(row.newValues);
        auto& rowIds = m_rowIds[number];
        PairList conditions = rowConditions(user, row.identifier);
        if (rowIds.empty()) {
            long long rowId = 0;
            const int result = insertMissingRow(adapter, table, row, conditions, &rowId);
            if (result == 0) {
                rowIds.push_back(std::to_string(rowId));
            }
            return result;
        }
        if (rowIds.size() == 1) {
            conditions.emplace_back("rowid", rowIds.front());
        }
        return updateFoundRow(adapter, table, row, conditions);
    }

    static constexpr std::size_t MostDigits = 18;

    /// Returns @p identifier as SQLite writes the number; empty if it is not a number, or has too
    /// many digits.
    static std::string plain(const std::string& identifier) {
        if (!DASUtils::isIdentifier(identifier)) {
            return {};
        }
        const std::size_t first =
            std::min(identifier.find_first_of("123456789"), identifier.size());
        const std::size_t last = identifier.find_last_of("0123456789");
        if (first <= last && last - first >= MostDigits) {
            return {};
        }
        const long long number = std::strtoll(identifier.c_str() + first, nullptr, 10);
        return std::to_string(identifier.find('-') == std::string::npos ? number : -number);
    }

    int m_result = 0;
    std::unordered_map<std::string, std::vector<std::string>> m_rowIds;
};

int storeRow(DatabaseAdapter& adapter, const std::string& user, const std::string& table,
             const DASUtils::RowData& row) {
    PairList conditions = rowConditions(user, row.identifier);
    PairList counted = conditions;
    std::string count;
    // Without the lock, a row that another thread stores after the count would be inserted twice.
    const AdapterLock lock(adapter);
    const int result = adapter.countRows(table, counted, count);
    if (result != 0) {
        DAS_LOG(2,
                "updateRequestHelper() DatabaseAdapter::getRowCount() failed for table='%s' "
                "rowId='%s' with code=%d",
                table.c_str(), row.identifier.c_str(), result);
        return result;
    }
    logNewValues(row.newValues);
    return count == "0" ? insertMissingRow(adapter, table, row, conditions)
                        : updateFoundRow(adapter, table, row, conditions);
}

int updateOneRow(DatabaseAdapter& adapter, const std::string& user, const std::string& table,
                 const DASUtils::RowData& row) {
    if (!DASUtils::isIdentifier(row.identifier)) {
        return 1;
    }
    const int result = storeRow(adapter, user, table, row);
    ChangeScope::noteNumber(adapter, row.identifier, user);
    return result;
}

bool hasColumnsOf(DataAccessObject& dao, DatabaseAdapter& adapter, const std::string& table) {
    std::vector<std::string> names;
    return adapter.getColumnNames(table, names) == 1 && names == dao.columnNames();
}

}  // namespace

DASUtils::TableState DASUtils::makeTableWithoutRows(DataAccessObject& dao, DatabaseAdapter& adapter,
                                                    const std::string& table) {
    bool isEmpty = false;
    const bool isCounted = adapter.lookForRows(table, isEmpty) == 0;
    return isEmpty ? makeTable(dao, adapter, table, isCounted) : TableState::Ready;
}

DASUtils::TableState DASUtils::makeTable(DataAccessObject& dao, DatabaseAdapter& adapter,
                                         const std::string& table, bool isCounted) {
    const ChangeScope::Unreported unreported(adapter);
    const bool isNew = dao.createTable() == 0;
    if (!isNew && !isCounted) {
        return TableState::Unknown;
    }
    // Rows are inserted by position. If an upgrade could not correct the order of the columns,
    // cells would be stored in wrong columns for good.
    if (isNew || hasColumnsOf(dao, adapter, table)) {
        // Only missing rows: another process may have inserted them meanwhile.
        (void)dao.insertDefaultRows(true);
    }
    // Default rows are stored together or not at all, so one row proves that all are there.
    bool isEmpty = false;
    const bool isFilled =
        dao.defaultRowIds().empty() || (adapter.lookForRows(table, isEmpty) == 0 && !isEmpty);
    return isFilled ? TableState::Ready : TableState::NotFilled;
}

void DASUtils::handleRequestHelper(const char* text, int length, DataAccessObject& dao) {
    static constexpr DataAccessObject::Operation<DataAccessObject> operations[] = {
        {&DASUtilsStrings::UpdateRequest, &DataAccessObject::updateRequest,
         &DASUtilsStrings::UpdateResponse},
        {&DASUtilsStrings::ReadRequest, &DataAccessObject::readRequest,
         &DASUtilsStrings::ReadResponse}};
    XmlHandler handler(&dao, dao.m_startHandler, dao.m_endHandler, dao.m_charHandler);
    const bool isParsed = handler.parseMessage(text, length) != 0;
    dao.m_responseReason = DASUtilsStrings::FailureResponse;
    if (dao.isBeyondLimits()) {
        return;
    }
    if (!isParsed) {
        DAS_LOG(2, "Parsing the request failed.");
    }
    // This happens before reason and user are checked: kept on purpose, any request creates the
    // table.
    const TableState state = makeTableWithoutRows(dao, *dao.m_dbAdapter, dao.m_tableName);
    if (dao.settleUser() && dao.mayServe(state)) {
        (void)DataAccessObject::dispatch(dao, operations);  // another reason is a failure
    }
}

void DASUtils::logUnknownReason(const std::string& reason,
                                const std::vector<const std::string*>& served) {
    if (!loggingOnAppUni("DataAccessService", 5)) {
        return;
    }
    std::string list;
    for (const std::string* each : served) {
        list += (list.empty() ? "" : ", ") + *each;
    }
    DAS_LOG(5, "The reason '%s' is none of %s", reason.c_str(), list.c_str());
}

int DASUtils::readRequest(PairList& search, Rows& rows, std::vector<std::string>& resultColumns,
                          const std::string& resultColsText, const std::string& user,
                          const std::string& rowId, const std::string& table,
                          DatabaseAdapter& adapter) {
    resultColumns = ClientUtils::tokenizeString(resultColsText, " ", false, false);
    search.emplace_back(DASUtilsStrings::UserContextTagName, convertToDBFormat(user));
    if (!rowId.empty()) {
        search.emplace_back(DASUtilsStrings::IdTagName, rowId);
    }
    if (!areResultColumns(resultColumns) || !(rowId.empty() || isIdentifier(rowId))) {
        return 1;
    }
    return readRows(adapter, table, resultColumns, search, rows);
}

int DASUtils::updateRequestHelper(DatabaseAdapter& adapter, const std::string& rowId,
                                  const std::string& user, const std::string& table,
                                  const PairList& newValues, const std::vector<RowData>& rows) {
    if (rows.empty()) {
        return rowId.empty() ? 1 : updateOneRow(adapter, user, table, {rowId, newValues});
    }
    if (rows.size() == 1) {
        const RowData& row = rows.front();
        return row.identifier.empty() ? 1 : updateOneRow(adapter, user, table, row);
    }
    // Locks at the begin: if another process blocks the batch, this waits once and not at each row.
    TransactionGuard transaction(adapter, TransactionGuard::Locks::AtOnce);
    if (transaction.beginResult() != 0) {
        return transaction.beginResult();
    }
    std::optional<KnownRows> known;
    if (rows.size() > LargeBatch) {
        known.emplace(adapter, user, table, rows);
    }
    int result = 1;
    for (const RowData& row : rows) {
        if (Work::isInterrupted()) {
            break;
        }
        if (!row.identifier.empty()) {
            result = known ? known->store(adapter, user, table, row)
                           : updateOneRow(adapter, user, table, row);
        }
    }
    // If the commit failed, no row of the batch is stored, whatever the result of the last row was.
    const int ended = transaction.end();
    return result != 0 ? result : ended;
}

int DASUtils::updateRequestHelper(DatabaseAdapter& adapter, const std::string& rowId,
                                  const std::string& user, const std::string& table,
                                  const PairList& newValues) {
    return updateRequestHelper(adapter, rowId, user, table, newValues, {});
}
