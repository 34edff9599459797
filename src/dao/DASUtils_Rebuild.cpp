// Rebuilds a table with other columns, inside the database.

#include <algorithm>

#include "ClientUtils.h"
#include "Log.h"
#include "dao/DASUtils.h"
#include "database/AdapterGuards.h"
#include "database/DatabaseAdapter.h"

namespace {

const std::string AsideEnding = "_MIGRATION";
const std::string ScratchFile = "/Aurel_Deploy/DasTemporaryLogValues.csv";

/// The statement that copies the rows of @p aside into @p table by column name.
std::string copyStatement(DatabaseAdapter& adapter, const std::string& table,
                          const std::string& aside) {
    std::vector<std::string> present;
    std::vector<std::string> old;
    std::vector<std::string> names;
    std::vector<std::string> values;
    (void)DASUtils::createColumnNameListFromDbFile(&adapter, table, present);
    (void)DASUtils::createColumnNameListFromDbFile(&adapter, aside, old);
    for (const std::string& name : old) {
        if (DASUtils::columnIsInColumnList(name, present)) {
            names.push_back(name);
            values.push_back("COALESCE(" + name + ", '')");
        } else {
            DAS_LOG(2, "The column %s of %s is given up", name.c_str(), table.c_str());
        }
    }
    return "INSERT INTO " + table + " (" + ClientUtils::join(names, ", ") + ") SELECT " +
           ClientUtils::join(values, ", ") + " FROM " + aside + ";";
}

/// Runs in the transaction of the caller, who rolls it back if the result is false.
bool replaceTable(DatabaseAdapter& adapter, const std::string& table,
                  const std::function<bool()>& create, const char* dropFailure) {
    const std::string aside = adapter.freeTableName(table + AsideEnding);
    if (aside.empty() || adapter.renameTable(table, aside) != 0 || !create() ||
        adapter.executeNonQuery(copyStatement(adapter, table, aside)) != 0) {
        return false;
    }
    const std::string count = DASUtils::countOf(adapter, aside);
    if (count.empty() || DASUtils::countOf(adapter, table) != count) {
        DAS_LOG(2, "Table %s does not have its %s rows again", table.c_str(), count.c_str());
        return false;
    }
    if (adapter.executeNonQuery("DROP TABLE " + aside + ";") != 0) {
        DAS_LOG(2, "%s", dropFailure);
        return false;
    }
    return true;
}

}  // namespace

bool DASUtils::rebuildTable(DatabaseAdapter& adapter, const std::string& table,
                            const std::function<bool()>& create, const char* dropFailure) {
    return runWholeOrNot(adapter,
                         [&] { return replaceTable(adapter, table, create, dropFailure); });
}

int DASUtils::updateTableInDatabase(DatabaseAdapter* adapter, const std::string& table,
                                    PairList& columns) {
    DAS_LOG(5, "updateTableInDatabase( TableName=%s )", table.c_str());
    std::vector<std::string> present;
    if (!createColumnNameListFromDbFile(adapter, table, present)) {
        DAS_LOG(2, "updateTableInDatabase failed to createColumnNameListFromDbFile");
        return 2;
    }
    const bool somethingIsNew = std::any_of(columns.begin(), columns.end(), [&](const auto& each) {
        return !columnIsInColumnList(each.first, present);
    });
    if (!somethingIsNew) {
        return 0;
    }
    const auto create = [&] {
        PairList created = columns;
        return adapter->createTable(table, created) == 0;
    };
    // The message names the call log for every table: kept on purpose, people search the log for
    // it.
    const bool rebuilt = rebuildTable(*adapter, table, create,
                                      "CallLogDAO::updateCallLogTableDatabas - FAILED to drop "
                                      "CallLog Table from phone.db");
    if (!rebuilt) {
        return 2;
    }
    removeDataFile(ScratchFile);  // earlier software left this file after a failure
    return 1;
}
