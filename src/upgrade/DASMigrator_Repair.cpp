// The repairs that run at each start: calls and contacts, the conversations that refer to them, and
// ringers of the older protocol.

#include "DataAccessServiceIfc.h"
#include "Log.h"
#include "calls/CallLogRow.h"
#include "upgrade/DASMigrator.h"
#include "upgrade/StepHelpers.h"

namespace {

using StepHelpers::execute;

const char* const ConversationsWithoutContact =
    "DELETE FROM CONVERSATIONS WHERE NOT EXISTS( SELECT NULL FROM PHONE_BOOK pb WHERE pb.UniqueID "
    "= PhonebookId )";
const char* const ConversationsWithoutCall =
    "DELETE FROM CONVERSATIONS WHERE NOT EXISTS( SELECT NULL FROM CALL_LOG cl WHERE cl.UniqueId = "
    "CallLogId )";
const char* const ConversationsOfOtherLogs =
    "DELETE FROM CONVERSATIONS WHERE EXISTS( SELECT NULL FROM CALL_LOG cl WHERE cl.EntryId LIKE "
    "'UC_%' AND cl.UniqueID = CallLogId )";

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
    execute(service, ConversationsWithoutContact);
    execute(service, ConversationsWithoutCall);
    DAS_LOG(6, "conversationsTableCleanup() cleanup of UC call log records");
    execute(service, ConversationsOfOtherLogs);
}

void DASMigrator::distinctiveRingerTableCleanup(DataAccessServiceIfc* service) {
    if (StepHelpers::olderProtocolRan()) {
        DAS_LOG(6, "distinctiveRingerTableCleanup() removing old records");
        execute(service, "DELETE FROM DISTINCTIVE_RINGING");
    }
}
