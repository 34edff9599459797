// The table of settings: its key, its forms before user mobility, and rows of the device. All rows
// move inside the database, so that no byte of a value can break a statement.

#include <algorithm>
#include <map>

#include "ClientUtils.h"
#include "DASUtilsStrings.h"
#include "DataAccessServiceIfc.h"
#include "Log.h"
#include "dao/DASUtils.h"
#include "dao/GenConfigDeviceDataItems.h"
#include "database/AdapterGuards.h"
#include "database/DatabaseAdapter.h"
#include "upgrade/DASMigrator.h"
#include "upgrade/StepHelpers.h"

namespace {

using namespace DASUtilsStrings;
using namespace StepHelpers;

const std::string KeyText = "PRIMARY KEY( Schema, UserContext, Name )";
const std::string FormOfTable =
    " (Schema TEXT, UserContext TEXT, Name TEXT, Value TEXT, " + KeyText + " )";

const std::string NoRows = "0";  ///< as a condition

const char* const DropTable = "DROP TABLE GENERAL_CONFIG";
const std::string MakeTable = "CREATE TABLE GENERAL_CONFIG" + FormOfTable;

/// Whether the table has exactly the columns of settings, in their order. Rows are inserted by
/// position, with a value for each column.
bool areColumnsInOrder(DatabaseAdapter& adapter) {
    return columnsOf(adapter, GeneralConfigTableName) == settingsColumns();
}

// A table that can't be read, or is missing, is not changed.
bool isInOrder(DatabaseAdapter& adapter) {
    Rows rows;
    (void)adapter.executeSQLQuery("SELECT sql FROM sqlite_master WHERE name = 'GENERAL_CONFIG'",
                                  rows);
    return rows.empty() ||
           (rows.front().at(0).find(KeyText) != std::string::npos && areColumnsInOrder(adapter));
}

/// Whether all columns of settings are present, in any order. A table without a context is from
/// before user mobility.
bool haveSettingsColumns(const std::vector<std::string>& names, bool withContext) {
    const std::vector<std::string>& all = settingsColumns();
    return std::all_of(all.begin(), all.end(), [&](const std::string& column) {
        return hasColumn(names, column) || (column == all[ContextCell] && !withContext);
    });
}

void logGivenUp(DatabaseAdapter& adapter, const std::vector<std::string>& names) {
    logGivenUpColumns(adapter, GeneralConfigTableName, names, settingsColumns());
}

/// Fills GENERAL_CONFIG_COPY, a new table of the current form.
bool fillCopy(DatabaseAdapter& adapter, const std::string& rows) {
    return runAll(adapter, {"DROP TABLE IF EXISTS GENERAL_CONFIG_COPY",
                            "CREATE TABLE GENERAL_CONFIG_COPY" + FormOfTable,
                            "INSERT OR REPLACE INTO GENERAL_CONFIG_COPY " + rows});
}

/// Creates GENERAL_CONFIG again with the rows of its copy, and drops the copy.
bool replaceByCopy(DatabaseAdapter& adapter) {
    return runAll(adapter, {DropTable, MakeTable,
                            "INSERT INTO GENERAL_CONFIG SELECT * FROM GENERAL_CONFIG_COPY",
                            "DROP TABLE GENERAL_CONFIG_COPY"});
}

/// Finds the device's rows among those that match @p condition, as "rowid IN (...)". Returns
/// whether the table could be read.
bool findDeviceRows(DatabaseAdapter& adapter, const std::string& condition, std::string& found) {
    Rows rows;
    const int read = adapter.executeSQLQuery(
        "SELECT rowid, Schema, Name FROM GENERAL_CONFIG WHERE " + condition, rows);
    std::vector<std::string> ids;
    for (const auto& row : rows) {
        if (GenConfigDeviceDataItems::isItemDeviceData(row.at(1), row.at(2))) {
            ids.push_back(row.at(0));
        }
    }
    found = ids.empty() ? NoRows : "rowid IN (" + ClientUtils::join(ids, ", ") + ")";
    return read == 0;
}

/// A row whose context is NULL is found by no request. If it belongs to the device, it gets the
/// blank context, unless a readable row exists already.
bool settleNullContexts(DatabaseAdapter& adapter) {
    std::string rows;
    if (!findDeviceRows(adapter, "UserContext IS NULL", rows)) {
        return false;
    }
    return rows == NoRows ||
           runAll(adapter, {"DELETE FROM GENERAL_CONFIG WHERE " + rows +
                                " AND (Schema, Name) IN (SELECT Schema, Name FROM GENERAL_CONFIG "
                                "WHERE UserContext IN ('', 'base'))",
                            "DELETE FROM GENERAL_CONFIG WHERE " + rows +
                                " AND rowid NOT IN (SELECT MAX(rowid) FROM GENERAL_CONFIG WHERE " +
                                rows + " GROUP BY Schema, Name)",
                            "UPDATE GENERAL_CONFIG SET UserContext = '' WHERE " + rows});
}

// The key ----------------------------------------------------------------------------------------

/// Replaces NULL by blank. If rows differ only in this, the blank one stays.
bool fillNulls(DatabaseAdapter& adapter) {
    return runAll(adapter, {"UPDATE OR IGNORE GENERAL_CONFIG SET Schema = '' WHERE Schema IS NULL",
                            "DELETE FROM GENERAL_CONFIG WHERE Schema IS NULL",
                            "UPDATE OR IGNORE GENERAL_CONFIG SET Name = '' WHERE Name IS NULL",
                            "DELETE FROM GENERAL_CONFIG WHERE Name IS NULL",
                            "UPDATE GENERAL_CONFIG SET Value = '' WHERE Value IS NULL"}) &&
           settleNullContexts(adapter) &&
           runAll(
               adapter,
               {"DELETE FROM GENERAL_CONFIG WHERE UserContext IS NULL AND (Schema, Name) IN "
                "(SELECT Schema, Name FROM GENERAL_CONFIG WHERE UserContext = '')",
                // A key allows two rows that differ only in a NULL. Of such rows the last one
                // stays.
                "DELETE FROM GENERAL_CONFIG WHERE UserContext IS NULL AND rowid NOT IN (SELECT "
                "MAX(rowid) FROM GENERAL_CONFIG WHERE UserContext IS NULL GROUP BY Schema, Name)",
                "UPDATE GENERAL_CONFIG SET UserContext = '' WHERE UserContext IS NULL"});
}

/// Of several rows with the same key, the one that SQLite returns for their group stays.
bool addKey(DatabaseAdapter& adapter) {
    return fillNulls(adapter) &&
           runAll(adapter, {"DELETE FROM GENERAL_CONFIG WHERE rowid NOT IN (SELECT rowid FROM "
                            "GENERAL_CONFIG GROUP BY Schema, UserContext, Name)"}) &&
           fillCopy(adapter, "SELECT Schema, UserContext, Name, Value FROM GENERAL_CONFIG") &&
           haveEqualCounts(adapter, "GENERAL_CONFIG", "GENERAL_CONFIG_COPY") &&
           replaceByCopy(adapter);
}

/// An empty table of an older form has no rows to keep, and would refuse any setting.
bool renewIfEmpty(DatabaseAdapter& adapter) {
    return !isInOrder(adapter) && adapter.isKnownToBeEmpty(GeneralConfigTableName) &&
           runWholeOrNot(adapter, [&] {
               return runAll(adapter, {DropTable, MakeTable});
           });
}

}  // namespace

void DASMigrator::createGeneralConfigTable(DataAccessServiceIfc* service) {
    if (!renewIfEmpty(*service->getAdapter())) {
        // Fails if the table exists, which is fine.
        createTable(service, UnitTestGenConfigTableSchema);
    }
}

void DASMigrator::normalizeGeneralConfigTable(DataAccessServiceIfc* service) {
    DatabaseAdapter& adapter = *service->getAdapter();
    if (isInOrder(adapter) || renewIfEmpty(adapter)) {
        return;
    }
    DAS_LOG(5, "Removing duplicates from GENERAL_CONFIG");
    const std::vector<std::string> names = columnsOf(adapter, GeneralConfigTableName);
    if (!haveSettingsColumns(names, true)) {
        DAS_LOG(2, "normalizeGeneralConfigTable: GENERAL_CONFIG has other columns, left as it is");
        return;
    }
    logGivenUp(adapter, names);
    if (!runWholeOrNot(adapter, [&] { return addKey(adapter); })) {
        DAS_LOG(2, "normalizeGeneralConfigTable: GENERAL_CONFIG is left as it was");
    }
}

void DASMigrator::orderGeneralConfigColumns(DataAccessServiceIfc* service) {
    if (!areColumnsInOrder(*service->getAdapter())) {
        normalizeGeneralConfigTable(service);
    }
}

// Before user mobility --------------------------------------------------------------------------

namespace {

/// A setting without a context belongs to the device if the list of device items says so, else to
/// the base user. If several rows get the same key, the last one stays, but a row with a NULL
/// context stays only if there is no other.
bool renewTable(DatabaseAdapter& adapter, bool hasContext) {
    std::string deviceRows;
    if ((hasContext && !settleNullContexts(adapter)) ||
        !findDeviceRows(adapter, hasContext ? "UserContext = ''" : "1", deviceRows)) {
        return false;
    }
    const std::string context = std::string("CASE") +
                                (hasContext ? " WHEN UserContext <> '' THEN UserContext" : "") +
                                " WHEN " + deviceRows + " THEN '' ELSE 'base' END";
    return fillCopy(adapter, "SELECT COALESCE(Schema, ''), " + context +
                                 ", COALESCE(Name, ''), COALESCE(Value, '') FROM GENERAL_CONFIG "
                                 "ORDER BY " +
                                 (hasContext ? "UserContext IS NOT NULL, " : "") + "rowid") &&
           replaceByCopy(adapter);
}

}  // namespace

bool DASMigrator::migrateGeneralConfigTable(DataAccessServiceIfc* service,
                                            const std::vector<std::string>&) {
    DatabaseAdapter& adapter = *service->getAdapter();
    const std::vector<std::string> names = columnsOf(adapter, GeneralConfigTableName);
    const bool hasContext = hasColumn(names, UserContextTagName);
    if (!haveSettingsColumns(names, hasContext)) {
        DAS_LOG(2, "migrateGeneralConfigTable: GENERAL_CONFIG has %d columns, left as it is",
                static_cast<int>(names.size()));
        return true;
    }
    DAS_LOG(5, "%s",
            hasContext ? "Rationalising new-format GENERAL_CONFIG table for Mobility"
                       : "Migrating old-format GENERAL_CONFIG table");
    logGivenUp(adapter, names);
    removeMigrationFiles();
    if (!runWholeOrNot(adapter, [&] { return renewTable(adapter, hasContext); })) {
        DAS_LOG(2, "migrateGeneralConfigTable: GENERAL_CONFIG is left as it was");
        return false;
    }
    DAS_LOG(5, "GENERAL_CONFIG table handling complete");
    return true;
}

// Device items -----------------------------------------------------------------------------------

namespace {

struct DeviceRowDecision {
    bool update;
    bool remove;
};

/// For each item, rows with a blank context come first, then "base", then others, so that the blank
/// one stays.
DeviceRowDecision decideOnDeviceRow(const std::vector<std::string>& row,
                                    const std::string& previousName) {
    const bool isRepeated = row.at(NameCell) == previousName;
    const std::string& context = row.at(ContextCell);
    const bool isKnown = context.empty() || context == UserContextBase;
    DAS_LOG(6, "validateDeviceItems: CONTEXT %s",
            !isKnown ? "other" : (context.empty() ? "empty" : "base"));
    if (isKnown && isRepeated) {
        DAS_LOG(6, "validateDeviceItems: lastrowName == rowName");
    }
    const bool remove = !isKnown || isRepeated;
    return {!remove && !context.empty(), remove};
}

/// The rows of one schema that hold device data, in the order in which they are decided.
int readDeviceRows(DatabaseAdapter& adapter, const std::string& schema,
                   const GenConfigDeviceDataItems::SchemaItem& items, Rows& rows) {
    const bool named = !items.included.empty();
    const std::vector<std::string>& names = named ? items.included : items.excluded;
    std::string sql =
        "SELECT Schema, UserContext, Name, Value FROM GENERAL_CONFIG WHERE Schema = " +
        DASUtils::escapeAndQuote(schema);
    if (!names.empty()) {
        sql += named ? " AND Name IN (" : " AND Name NOT IN (";
        for (std::size_t i = 0; i < names.size(); ++i) {
            sql += i > 0 ? ", " : "";
            sql += DASUtils::escapeAndQuote(names[i]);
        }
        sql += ")";
    }
    return adapter.executeSQLQuery(
        sql + " ORDER BY Schema ASC, Name ASC, UserContext NOT IN ('', 'base'), UserContext ASC;",
        rows);
}

void carryOut(DatabaseAdapter& adapter, const std::vector<std::string>& row,
              const DeviceRowDecision& decision) {
    const std::string condition =
        " WHERE Schema = ? AND UserContext = ? AND Name = ? AND COALESCE(Value, '') = ?;";
    if (decision.update) {
        DAS_LOG(5, "validateDeviceItems: update row");
        (void)adapter.executeWithValues("UPDATE GENERAL_CONFIG SET UserContext = ''" + condition,
                                        row);
    } else if (decision.remove) {
        DAS_LOG(5, "validateDeviceItems: delete row");
        (void)adapter.executeWithValues("DELETE FROM GENERAL_CONFIG" + condition, row);
    } else {
        DAS_LOG(6, "validateDeviceItems: no action");
    }
}

}  // namespace

void DASMigrator::validateDeviceItems(DataAccessServiceIfc* service) {
    DAS_LOG(4, "validateDeviceItems");
    if (service == nullptr) {
        return;
    }
    std::map<std::string, GenConfigDeviceDataItems::SchemaItem> items;
    GenConfigDeviceDataItems::getDeviceItemMap(items);
    DatabaseAdapter& adapter = *service->getAdapter();
    if (!runWholeOrNot(adapter, [&] { return settleNullContexts(adapter); })) {
        DAS_LOG(2, "validateDeviceItems: settings with a NULL context stay as they are");
    }
    for (const auto& [schema, schemaItems] : items) {
        Rows rows;
        (void)readDeviceRows(adapter, schema, schemaItems, rows);  // a failure is in the log
        std::string previousName;
        for (const auto& row : rows) {
            DAS_LOG(6, "validateDeviceItems: row[%s][%s][%s][%s]", row.at(SchemaCell).c_str(),
                    row.at(ContextCell).c_str(), row.at(NameCell).c_str(),
                    ClientUtils::hidePasswordDAS(row.at(NameCell), row.at(ValueCell)).c_str());
            const DeviceRowDecision decision = decideOnDeviceRow(row, previousName);
            DAS_LOG(6, "validateDeviceItems: update[%s] delete[%s]", yesNo(decision.update),
                    yesNo(decision.remove));
            carryOut(adapter, row, decision);
            previousName = row.at(NameCell);
        }
    }
}
