// The common part of contacts, call groups, calls and conversations. An entry means something else
// in each of them, so each class supplies the conditions and the cells of an entry.

#include "dao/ListDAO.h"

#include <algorithm>
#include <utility>

#include "DASUtilsStrings.h"
#include "dao/DASUtils.h"
#include "database/ChangeScope.h"
#include "database/DatabaseAdapter.h"

const std::string ListDAO::RowCountRequest = "rowcount_request";
const std::string ListDAO::RowCountResponse = "rowcount_response";

ListDAO::ListDAO(DatabaseAdapter* adapter, std::shared_ptr<const TableLayout> layout,
                 const std::vector<std::string>& fields)
    : DataAccessObject(adapter, std::move(layout)),
      m_request(fields, m_schemaName, m_requestContext, m_reason, m_limits) {}

int ListDAO::initialiseMobilityUserData(const std::string& context) {
    return deleteContextData(context);
}

int ListDAO::exportData(PairList& conditions, std::string& location) {
    (void)DASUtils::readAllItemsFromTableAndWriteToFile(m_dbAdapter, m_tableName, location,
                                                        conditions);
    return 0;
}

int ListDAO::importData(std::string& location) {
    (void)createMissingTable();
    std::vector<std::string> names = columnNames();
    return importDataFromFile(m_tableName, names, location) ? 0 : 1;
}

bool ListDAO::takeReadWords() {
    m_resultColumns = m_request.resultColumns();
    return DASUtils::areResultColumns(m_resultColumns) && m_request.hasSafePaging();
}

bool ListDAO::mayStore(const AssignedNumbers::Key& key, const std::string& number) {
    if (!AssignedNumbers::mayBeStored(*m_dbAdapter, key, number)) {
        return false;
    }
    Rows owner;
    m_replacesOthers =
        ChangeScope::heard() != nullptr && m_dbAdapter->isTableThere(key.table) &&
        DASUtils::readRows(*m_dbAdapter, key.table, {DASUtilsStrings::UserContextTagName},
                           {{key.column, number}}, owner) == 0 &&
        !owner.empty() && owner[0].at(0) != m_responseUser;
    return true;
}

int ListDAO::noteStored(std::size_t entry, bool isAssigned, int result) {
    if (result == 0 && isAssigned) {
        m_numbers.keep(entry, m_lastNumber);
    }
    // A row that was another user's has changed for both.
    const bool isOfBoth = std::exchange(m_replacesOthers, false);
    ChangeScope::noteNumber(*m_dbAdapter, m_lastNumber, isOfBoth ? std::string() : m_responseUser);
    return result;
}

int ListDAO::deleteEntries(const std::vector<std::string>& numbers,
                           const std::function<void(PairList&, unsigned)>& conditions) {
    m_limits.checkDeletion(
        static_cast<std::size_t>(std::count(numbers.begin(), numbers.end(), std::string())));
    if (isBeyondLimits()) {
        return 1;
    }
    return forEachEntry(std::max<std::size_t>(numbers.size(), 1), [&](std::size_t entry) {
        PairList params;
        conditions(params, static_cast<unsigned>(entry));
        const int result = m_dbAdapter->deleteRow(m_tableName, params);
        ChangeScope::noteNumber(
            *m_dbAdapter, entry < numbers.size() ? numbers[entry] : std::string(), m_responseUser);
        return result;
    });
}
