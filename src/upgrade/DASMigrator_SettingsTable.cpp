// The table of settings: the key that it was given, and its forms before user mobility.

#include <unistd.h>

#include <algorithm>

#include "ClientUtils.h"
#include "DASUtilsStrings.h"
#include "DataAccessServiceIfc.h"
#include "Storage.h"
#include "dao/CsvFile.h"
#include "dao/DASUtils.h"
#include "dao/GenConfigDeviceDataItems.h"
#include "database/AdapterGuards.h"
#include "database/DatabaseAdapter.h"
#include "database/Logging.h"
#include "upgrade/DASMigrator.h"

namespace {

constexpr const char* LogComponent = "DataAccessService";
constexpr const char* LogSource = "./src/DASMigrator";

using namespace DASUtilsStrings;

const std::vector<std::string>& settingsColumns() {
    static const std::vector<std::string> columns = {"Schema", UserContextTagName, "Name", "Value"};
    return columns;
}

/// The four cells of a row of settings, by their places.
enum SettingCell : std::size_t { SchemaCell, ContextCell, NameCell, ValueCell };

}  // namespace

// The key ----------------------------------------------------------------------------------------

namespace {

const std::string keyText = "PRIMARY KEY( Schema, UserContext, Name )";
const std::string tableForm =
    " (Schema TEXT, UserContext TEXT, Name TEXT, Value TEXT, " + keyText + " )";

/// Runs statements in their order up to the first that fails. Whether all ran.
bool runAll(DatabaseAdapter& adapter, const std::vector<std::string>& statements) {
    return std::all_of(statements.begin(), statements.end(), [&](const std::string& statement) {
        return adapter.executeNonQuery(statement) == 0;
    });
}

bool hasKey(DatabaseAdapter& adapter) {
    Rows rows;
    (void)adapter.executeSQLQuery("SELECT sql FROM sqlite_master WHERE name = 'GENERAL_CONFIG'",
                                  rows);
    // A table that can't be asked for, or is missing, is not touched.
    return rows.empty() || rows.front().at(0).find(keyText) != std::string::npos;
}

bool standsInOrder(DatabaseAdapter& adapter) {
    std::vector<std::string> names;
    return adapter.getColumnNames(GeneralConfigTableName, names) == 1 && names == settingsColumns();
}

/// Of rows with the same key the one that the query gives for them stays.
bool removeDuplicates(DatabaseAdapter& adapter) {
    Rows rows;
    if (adapter.executeSQLQuery(
            "SELECT * FROM GENERAL_CONFIG GROUP BY Schema, UserContext, Name HAVING COUNT(*) > 1 "
            "ORDER BY Schema, UserContext, Name",
            rows) != 0) {
        return false;
    }
    return std::all_of(rows.begin(), rows.end(), [&](const std::vector<std::string>& row) {
        PairList conditions;
        for (const SettingCell cell : {SchemaCell, ContextCell, NameCell}) {
            conditions.emplace_back(settingsColumns()[cell],
                                    DASUtils::escapeAndQuote(row.at(cell)));
        }
        std::vector<std::string> values;
        for (const std::string& cell : row) {
            values.push_back(DASUtils::escapeAndQuote(cell));
        }
        return adapter.deleteRow(GeneralConfigTableName, conditions) == 0 &&
               adapter.insert(GeneralConfigTableName, values, nullptr) == 0;
    });
}

bool copyHasAllRows(DatabaseAdapter& adapter) {
    PairList all;
    std::string rows;
    std::string copied;
    return adapter.countRows("GENERAL_CONFIG", all, rows) == 0 &&
           adapter.countRows("GENERAL_CONFIG_COPY", all, copied) == 0 && rows == copied;
}

bool addKey(DatabaseAdapter& adapter) {
    return runAll(adapter, {"DROP TABLE IF EXISTS GENERAL_CONFIG_COPY",
                            "UPDATE GENERAL_CONFIG SET Schema = '' WHERE Schema IS NULL",
                            "UPDATE GENERAL_CONFIG SET UserContext = '' WHERE UserContext IS NULL",
                            "UPDATE GENERAL_CONFIG SET Name = '' WHERE Name IS NULL",
                            "UPDATE GENERAL_CONFIG SET Value = '' WHERE Value IS NULL"}) &&
           removeDuplicates(adapter) &&
           runAll(adapter, {"CREATE TABLE GENERAL_CONFIG_COPY" + tableForm,
                            "INSERT INTO GENERAL_CONFIG_COPY SELECT * FROM GENERAL_CONFIG"}) &&
           copyHasAllRows(adapter) &&
           runAll(adapter, {"DROP TABLE GENERAL_CONFIG", "CREATE TABLE GENERAL_CONFIG" + tableForm,
                            "INSERT INTO GENERAL_CONFIG SELECT * FROM GENERAL_CONFIG_COPY",
                            "DROP TABLE GENERAL_CONFIG_COPY"});
}

}  // namespace

void DASMigrator::normalizeGeneralConfigTable(DataAccessServiceIfc* service) {
    DatabaseAdapter& adapter = *service->getAdapter();
    if (hasKey(adapter)) {
        return;
    }
    DAS_LOG(5, "Removing duplicates from GENERAL_CONFIG");
    if (!standsInOrder(adapter)) {
        DAS_LOG(2, "normalizeGeneralConfigTable: GENERAL_CONFIG has other columns, left as it is");
        return;
    }
    if (!runWholeOrNot(adapter, [&] { return addKey(adapter); })) {
        DAS_LOG(2, "normalizeGeneralConfigTable: GENERAL_CONFIG is left as it was");
    }
}

// Before user mobility --------------------------------------------------------------------------

namespace {

const char* const migrationFile = "/Aurel_Deploy/DasMigrationValues.csv";
const std::string outSuffix = ".out";

constexpr int ColumnsWithoutContext = 3;
constexpr int ColumnsWithContext = 4;

/// Whether a row comes back from a line of a data file as it went.
bool isCarried(const std::vector<std::string>& row) {
    std::string line;
    for (const std::string& cell : row) {
        line += line.empty() && &cell == &row.front() ? "" : ",";
        line += DASUtils::escapeReservedCharacter(cell, ',', '\\');
    }
    std::vector<std::string> fields;
    ClientUtils::splitString(line, fields);
    return line.find('\n') == std::string::npos && line.rfind('#', 0) != 0 && fields == row;
}

/// A row of an older form as one of today's: without a context a setting is the device's if the
/// list of device items says so, else the base user's. Empty for a row that is too short.
std::vector<std::string> asTodaysRow(const std::vector<std::string>& row, int columns) {
    const std::size_t name = columns == ColumnsWithoutContext ? NameCell - 1 : NameCell;
    if (row.size() <= name + 1) {
        return {};
    }
    std::string context = columns == ColumnsWithContext ? row[ContextCell] : std::string();
    if (context.empty() &&
        !GenConfigDeviceDataItems::isItemDeviceData(row[SchemaCell], row[name])) {
        context = UserContextBase;
    }
    return {row[SchemaCell], context, row[name], row[name + 1]};
}

/// Takes the rows that a data file does not carry out of the table.
bool takeOutUncarried(DatabaseAdapter& adapter, Rows& taken) {
    Rows rows;
    if (adapter.executeSQLQuery("SELECT rowid, * FROM GENERAL_CONFIG", rows) != 0) {
        return false;
    }
    for (auto& row : rows) {
        const std::string rowId = row.at(0);
        row.erase(row.begin());
        if (isCarried(row)) {
            continue;
        }
        if (adapter.executeNonQuery("DELETE FROM GENERAL_CONFIG WHERE rowid = " + rowId) != 0) {
            return false;
        }
        taken.push_back(std::move(row));
    }
    return true;
}

bool insertTaken(DatabaseAdapter& adapter, const Rows& taken, int columns) {
    return std::all_of(taken.begin(), taken.end(), [&](const std::vector<std::string>& row) {
        std::vector<std::string> values;
        for (const std::string& cell : asTodaysRow(row, columns)) {
            values.push_back(DASUtils::escapeAndQuote(cell));
        }
        return adapter.insert(GeneralConfigTableName, values, nullptr) == 0;
    });
}

/// Writes the lines of the migration file as rows of today. Whether all of them are written.
bool rewriteFile(int columns) {
    CsvReader in(migrationFile);
    CsvWriter out(migrationFile + outSuffix);
    if (!in.isOpen() || !out.isOpen()) {
        DAS_LOG(2, "error opening %s", migrationFile);
        return false;
    }
    DAS_LOG(5, "Opening %s", migrationFile);
    DAS_LOG(5, "Scanning file...");
    const std::size_t failures = in.forEachRow([&](std::vector<std::string>& fields) {
        const auto row = asTodaysRow(fields, columns);
        if (row.empty()) {
            return 1;
        }
        out.writeRow(row);
        return 0;
    });
    DAS_LOG(5, "Scanning complete");
    return out.finish() && failures == 0;
}

/// Everything from the first change of the table to the last, for the caller's transaction.
bool renewTable(DataAccessServiceIfc* service, const std::vector<std::string>& columnNames,
                int columns) {
    DatabaseAdapter& adapter = *service->getAdapter();
    Rows taken;
    if (!takeOutUncarried(adapter, taken) ||
        !DASUtils::readAllItemsFromTableAndWriteToFile(&adapter, GeneralConfigTableName,
                                                       migrationFile, {}) ||
        !rewriteFile(columns) || adapter.executeNonQuery("DROP TABLE GENERAL_CONFIG;") != 0) {
        return false;
    }
    DASMigrator::createTable(service, UnitTestGenConfigTableSchema);
    return DASUtils::updateItemsInTransaction(adapter, GeneralConfigTableName, columnNames,
                                              migrationFile + outSuffix) &&
           insertTaken(adapter, taken, columns);
}

/// Without a place for files no start will ever rewrite the table.
bool canHaveFiles() {
    return Storage::errorOf(migrationFile, true) == 0;
}

}  // namespace

bool DASMigrator::migrateGeneralConfigTable(DataAccessServiceIfc* service,
                                            const std::vector<std::string>& columns) {
    const int count = service->getAdapter()->getColumnCount("SELECT * FROM GENERAL_CONFIG;");
    if (count != ColumnsWithoutContext && count != ColumnsWithContext) {
        DAS_LOG(2, "migrateGeneralConfigTable: GENERAL_CONFIG has %d columns, left as it is",
                count);
        return true;
    }
    DAS_LOG(5, "%s",
            count == ColumnsWithoutContext
                ? "Migrating old-format GENERAL_CONFIG table"
                : "Rationalising new-format GENERAL_CONFIG table for Mobility");
    DASUtils::removeDataFile(migrationFile);
    if (!runWholeOrNot(*service->getAdapter(),
                       [&] { return renewTable(service, columns, count); })) {
        DAS_LOG(2, "migrateGeneralConfigTable: GENERAL_CONFIG is left as it was");
        return !canHaveFiles();
    }
    DASUtils::removeDataFile(migrationFile);
    DASUtils::removeDataFile(migrationFile + outSuffix);
    DAS_LOG(5, "GENERAL_CONFIG table handling complete");
    return true;
}
