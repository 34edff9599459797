// The check of the call log at a start, over a log in which nothing is wrong.

#include <map>
#include <memory>

#include "Bench.h"
#include "StatementRecord.h"
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

/// Finds the calls that must be split: none.
std::string checkLog(DataAccessService& service, const std::string&) {
    std::map<std::string, CallLogRow> rows;
    std::vector<std::string> idsToSplit;
    DASMigrator::readCallLogRowsWithMoreThanOneNumberOnARow(&service, rows, idsToSplit);
    return std::to_string(rows.size() + idsToSplit.size());
}

std::string readLog(FloorDatabase& floor, const Texts& statements) {
    int marked = 0;
    for (const auto& row : floor.rows(statements.at(0))) {
        marked += row.front().empty() ? 0 : 1;
    }
    return std::to_string(marked);
}

std::vector<Operation> repairs() {
    Operation check;
    check.name = "CallLog/Check10000CleanCalls";
    const auto texts = std::make_shared<Texts>();
    check.prepare = [texts](DataAccessService& service) {
        makeCleanLog(service);
        *texts = StatementRecord::statementsIn(StatementRecord::of(
            StatementRecord::lastOpened(), [&] { (void)checkLog(service, {}); }));
    };
    check.request = [](int) { return std::string(); };
    check.statements = [texts](int) { return *texts; };
    check.floor = readLog;
    check.service = checkLog;
    return {check};
}

const Registration registration(repairs());

}  // namespace
