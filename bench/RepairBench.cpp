// The check of the call log at a start, over a log in which nothing is wrong.

#include <map>

#include "Bench.h"
#include "calls/CallLogRow.h"
#include "database/DatabaseAdapter.h"
#include "upgrade/DASMigrator.h"

namespace {

using namespace Bench;

const char* const cleanRows =
    "WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n WHERE i < 10000) "
    "INSERT INTO CALL_LOG (UserContext, Category, EntryId, Surname, Number0, TimeDate0, Number1, "
    "TimeDate1) SELECT 'base', 'Missed', 'E' || i, 'Surname ' || i, '+4989' || i, "
    "'2014-03-07T09:15:30', '+4989' || i, '2014-03-06T09:15:30' FROM n";

void makeCleanLog(DataAccessService& service) {
    (void)service.processRequest(message("CallLog", "read_request", ""));
    (void)service.getAdapter()->executeNonQuery(cleanRows);
}

std::string checkLog(DataAccessService& service, const std::string&) {
    std::map<std::string, CallLogRow> rows;
    std::vector<std::string> idsToSplit;
    DASMigrator::readCallLogRowsWithMoreThanOneNumberOnARow(&service, rows, idsToSplit);
    return std::to_string(rows.size() + idsToSplit.size());
}

std::string readLog(FloorDatabase& floor, const Texts& statements) {
    return std::to_string(floor.rows(statements.at(0)).size());
}

std::vector<Operation> repairs() {
    Operation check;
    check.name = "CallLog/Check10000CleanCalls";
    check.prepare = makeCleanLog;
    check.request = [](int) { return std::string(); };
    check.statements = [](int) { return Texts{"SELECT * FROM CALL_LOG;"}; };
    check.floor = readLog;
    check.service = checkLog;
    return {check};
}

const Registration registration(repairs());

}  // namespace
