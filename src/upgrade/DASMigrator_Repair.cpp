// The repairs of each start: calls and contacts, the conversations that refer to them, ringers of
// the older protocol.

#include "DataAccessServiceIfc.h"
#include "calls/CallLogRow.h"
#include "database/DatabaseAdapter.h"
#include "database/Logging.h"
#include "upgrade/DASMigrator.h"
#include "upgrade/StepHelpers.h"

namespace {

constexpr const char* LogComponent = "DataAccessService";
constexpr const char* LogSource = "./src/DASMigrator";

const char* const conversationsWithoutContact =
    "DELETE FROM CONVERSATIONS WHERE NOT EXISTS( SELECT NULL FROM PHONE_BOOK pb WHERE pb.UniqueID "
    "= PhonebookId )";
const char* const conversationsWithoutCall =
    "DELETE FROM CONVERSATIONS WHERE NOT EXISTS( SELECT NULL FROM CALL_LOG cl WHERE cl.UniqueId = "
    "CallLogId )";
const char* const conversationsOfOtherLogs =
    "DELETE FROM CONVERSATIONS WHERE EXISTS( SELECT NULL FROM CALL_LOG cl WHERE cl.EntryId LIKE "
    "'UC_%' AND cl.UniqueID = CallLogId )";

/// Runs a statement whose failure is only logged.
void execute(DataAccessServiceIfc* service, const std::string& sql) {
    Rows none;
    (void)service->getAdapter()->executeSQLQuery(sql, none);
}

}  // namespace

int DASMigrator::callLogTableChecker(DataAccessServiceIfc* service) {
    std::map<std::string, CallLogRow> rows;
    std::vector<std::string> idsToSplit;
    if (bringCallLogIntoOrder(service)) {
        readCallLogRowsWithMoreThanOneNumberOnARow(service, rows, idsToSplit);
        fixDuplicateNumbersFoundInARow(service, rows, idsToSplit);
        rows.clear();
    } else {
        DAS_LOG(2, "The calls are not checked: CALL_LOG has other columns");
    }
    DuplicateRows duplicates;
    readCallLogRowsWithDuplicateRowsPerCategory(service, duplicates);
    const int contacts = readPhoneBookDuplicateRows(service);
    normalizeDuplicateRowData(duplicates);
    const auto treated = idsToSplit.size() + duplicates.size();
    const std::vector<std::string> idsToRemove = consolidateDuplicateRows(duplicates);
    commitConsolidatedRowData(service, duplicates);
    removeRows(service, idsToRemove);
    if (contacts > 0 || !duplicates.empty() || !idsToSplit.empty()) {
        dropConversationsTable(service);
    }
    if (contacts > 0) {
        deleteDuplicateItemsFromPhoneBook(service);
    }
    return static_cast<int>(treated);
}

void DASMigrator::dropConversationsTable(DataAccessServiceIfc* service) {
    execute(service, "DROP TABLE CONVERSATIONS;");
}

void DASMigrator::conversationsTableCleanup(DataAccessServiceIfc* service) {
    DAS_LOG(6, "conversationsTableCleanup() removing old records from conversation table");
    execute(service, conversationsWithoutContact);
    execute(service, conversationsWithoutCall);
    DAS_LOG(6, "conversationsTableCleanup() cleanup of UC call log records");
    execute(service, conversationsOfOtherLogs);
}

void DASMigrator::distinctiveRingerTableCleanup(DataAccessServiceIfc* service) {
    if (StepHelpers::olderProtocolRan()) {
        DAS_LOG(6, "distinctiveRingerTableCleanup() removing old records");
        execute(service, "DELETE FROM DISTINCTIVE_RINGING");
    }
}
