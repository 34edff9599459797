// The tables: each is rebuilt with the columns of its object, and rows that moved or are missing
// are stored.

#include <algorithm>
#include <iterator>

#include "ClientUtils.h"
#include "DASUtilsStrings.h"
#include "DataAccessServiceIfc.h"
#include "Log.h"
#include "dao/DASUtils.h"
#include "dao/DataAccessObject.h"
#include "database/AdapterGuards.h"
#include "database/DatabaseAdapter.h"
#include "upgrade/DASMigrator.h"
#include "upgrade/StepHelpers.h"
#include "upgrade/TableRebuild.h"

namespace {

using namespace DASUtilsStrings;

std::vector<std::string> columnsOf(DataAccessServiceIfc* service, const std::string& table) {
    return StepHelpers::columnsOf(*service->getAdapter(), table);
}

bool isThere(DataAccessServiceIfc* service, const std::string& table) {
    return !columnsOf(service, table).empty();
}

/// Whether the count of the rows that match is known and is 0.
bool isKnownToHaveNo(DataAccessServiceIfc* service, const std::string& table, PairList conditions) {
    return DASUtils::countOf(*service->getAdapter(), table, std::move(conditions)) == "0";
}

bool makeTable(DataAccessObject& dao, const std::string& table) {
    if (dao.createTable() != 0) {
        DAS_LOG(2, "The table %s can be neither read nor made", table.c_str());
        return false;
    }
    (void)dao.insertDefaultRows(true);  // a failure is in the log
    return true;
}

/// Rebuilds the table with its columns; creates a missing table with its default rows. Returns
/// whether something was changed.
bool bringIntoForm(DataAccessServiceIfc* service, const std::string& schema,
                   const std::string& table, TableRebuild::DefaultRows rows) {
    const auto dao = DASMigrator::createDao(service, schema);
    if (dao->columns().empty() || dao->tableName() != table) {
        DAS_LOG(2, "No columns are known for the table %s", table.c_str());
        return false;
    }
    const std::vector<std::string> oldColumns = columnsOf(service, table);
    if (oldColumns.empty()) {
        return makeTable(*dao, table);
    }
    TableRebuild rebuild(*service->getAdapter(), *dao, oldColumns);
    if (!rebuild.isDone()) {
        return rebuild.run(rows);
    }
    if (rows == TableRebuild::DefaultRows::Add) {
        DASMigrator::migrateTableByAddingMissingDefaultLines(service, schema);
    }
    return false;
}

/// Adds the default rows that a table lacks, after its columns were brought up to date.
void addMissingRows(DataAccessServiceIfc* service, const std::string& schema,
                    const std::string& table) {
    if (isThere(service, table)) {
        (void)DASMigrator::rebuildIntoDaoColumns(service, schema, table);
        if (!DASMigrator::formOf(service, schema, table).isInOrder()) {
            return;  // rows are inserted by position, so cells would be stored in wrong columns
        }
    }
    DASMigrator::migrateTableByAddingMissingDefaultLines(service, schema);
}

/// Devices without a user belong to the owner. If the owner has the same device already, the
/// duplicate is deleted.
void giveDevicesToBase(DataAccessServiceIfc* service) {
    DatabaseAdapter& adapter = *service->getAdapter();
    const bool given = runWholeOrNot(adapter, [&] {
        return adapter.executeNonQuery(
                   "DELETE FROM BLUETOOTH_TRUSTED WHERE UserContext = '' AND Id IN (SELECT Id FROM "
                   "BLUETOOTH_TRUSTED WHERE UserContext = 'base');") == 0 &&
               adapter.executeNonQuery(
                   "UPDATE BLUETOOTH_TRUSTED SET UserContext = 'base' WHERE UserContext = '';") ==
                   0;
    });
    if (!given) {
        DAS_LOG(2, "The devices of %s have no user", BluetoothTrustedTableName.c_str());
    }
}

/// A table that lacks its default rows if it has no row with this id.
struct GrownTable {
    const std::string* table;
    const char* id;
    const std::string* schema;
    void (*special)(DataAccessServiceIfc*) = nullptr;  ///< called instead of adding the rows; may
                                                       ///< be null
};

const GrownTable GrownTables[] = {
    {&BCASettingsTableName, "'10'", &BCASettingsSchema},
    {&DeflectKeyDestinationsTableName, "'1017'", &DeflectKeyDestinationsSchema},
    {&DssKeySettingsTableName, "'109'", &DssKeySettingsSchema},
    {&FeatureKeysTableName, "'1017'", &FeatureKeysSchema},
    {&FeatureToggleKeySettingsTableName, "'109'", &FeatureToggleKeySettingsSchema},
    {&ForwardingKeyDestinationsTableName, "'109'", &ForwardingKeyDestinationsSchema,
     DASMigrator::moveBusyLamps},
    {&ForwardingKeyDestinationsTableName, "'32'", &ForwardingKeyDestinationsSchema,
     DASMigrator::moveKey32},
    {&LineKeySettingsTableName, "'109'", &LineKeySettingsSchema},
    {&RepertoryDiallingTableName, "'1017'", &RepertoryDiallingSchema},
    {&SelectedDiallingTableName, "'1017'", &SelectedDiallingSchema},
    {&StartApplicationTableName, "'1017'", &StartApplicationSchema},
    {&StimulusKeySettingsTableName, "'200'", &StimulusKeySettingsSchema},
    {&LineKeySettingsTableName, "'200'", &LineKeySettingsSchema},
    {&DssKeySettingsTableName, "'200'", &DssKeySettingsSchema},
    {&FeatureToggleKeySettingsTableName, "'200'", &FeatureToggleKeySettingsSchema},
};

/// Tables of these whose columns no other step looks at.
const std::string* const TablesWithoutStep[] = {
    &DeflectKeyDestinationsTableName,    &FeatureToggleKeySettingsTableName,
    &ForwardingKeyDestinationsTableName, &RepertoryDiallingTableName,
    &SelectedDiallingTableName,          &StartApplicationTableName};

/// Rebuilds a table that has its default rows with the columns of its object.
void bringGrownIntoOrder(DataAccessServiceIfc* service, const GrownTable& grown) {
    const bool isLookedAt = std::any_of(std::begin(TablesWithoutStep), std::end(TablesWithoutStep),
                                        [&](const auto* table) { return table == grown.table; });
    if (isLookedAt) {
        DASMigrator::bringIntoOrder(service, *grown.schema, *grown.table);
    }
}

}  // namespace

bool DASMigrator::rebuildIntoDaoColumns(DataAccessServiceIfc* service, const std::string& schema,
                                        const std::string& table) {
    return bringIntoForm(service, schema, table, TableRebuild::DefaultRows::Leave);
}

void DASMigrator::bringIntoOrder(DataAccessServiceIfc* service, const std::string& schema,
                                 const std::string& table) {
    if (!formOf(service, schema, table).isInOrder()) {
        (void)rebuildIntoDaoColumns(service, schema, table);
    }
}

void DASMigrator::rebuildAndFill(DataAccessServiceIfc* service, const std::string& schema,
                                 const std::string& table) {
    (void)bringIntoForm(service, schema, table, TableRebuild::DefaultRows::Add);
}

void DASMigrator::migrateTableForMobility(DataAccessServiceIfc* service, const std::string& table,
                                          const std::string& schema, bool visitorRows,
                                          int columns) {
    const auto dao = createDao(service, schema);
    if (visitorRows && isKnownToHaveNo(service, table, {})) {
        // An empty table never gets its rows later. A missing table is created with them, now or
        // when it is first needed.
        if (service->getAdapter()->executeNonQuery("DROP TABLE " + table + ";") == 0) {
            (void)dao->insertDefaultRows(UserContextVisitor);
        }
        return;
    }
    (void)rebuildIntoDaoColumns(service, schema, table);
    if (static_cast<int>(columnsOf(service, table).size()) < columns) {
        DAS_LOG(2, "The table %s has no users yet", table.c_str());
        return;
    }
    const std::string visitor = DASUtils::convertToDBFormat(UserContextVisitor);
    if (visitorRows && isKnownToHaveNo(service, table, {{UserContextTagName, visitor}})) {
        (void)dao->insertDefaultRows(UserContextVisitor);  // what fails is in the log
    }
}

void DASMigrator::migrateLineKeySettingsTable(DataAccessServiceIfc* service) {
    (void)rebuildIntoDaoColumns(service, LineKeySettingsSchema, LineKeySettingsTableName);
}

void DASMigrator::migrateBcaSettingsTable(DataAccessServiceIfc* service) {
    (void)rebuildIntoDaoColumns(service, BCASettingsSchema, BCASettingsTableName);
}

void DASMigrator::migrateDSSKeySettingsTable(DataAccessServiceIfc* service) {
    (void)rebuildIntoDaoColumns(service, DssKeySettingsSchema, DssKeySettingsTableName);
}

void DASMigrator::migrateDSSKeySettingsTableForMonitorOnly(DataAccessServiceIfc* service) {
    (void)rebuildIntoDaoColumns(service, DssKeySettingsSchema, DssKeySettingsTableName);
}

void DASMigrator::migrateStimulusKeySettingsTable(DataAccessServiceIfc* service, int columnCount,
                                                  int rowCount) {
    DAS_LOG(5, "%s has %d columns and %d rows", StimulusKeySettingsTableName.c_str(), columnCount,
            rowCount);
    rebuildAndFill(service, StimulusKeySettingsSchema, StimulusKeySettingsTableName);
}

void DASMigrator::migrateFeatureKeysTableForDefaultRows(DataAccessServiceIfc* service) {
    constexpr int keysOfUser = 177;
    // Otherwise the table refuses new rows.
    bringIntoOrder(service, FeatureKeysSchema, FeatureKeysTableName);
    const std::string count =
        DASUtils::countOf(*service->getAdapter(), FeatureKeysTableName,
                          {{UserContextTagName, DASUtils::convertToDBFormat(UserContextBase)}});
    if (!count.empty() && ClientUtils::stoi(count) < keysOfUser) {
        addMissingRows(service, FeatureKeysSchema, FeatureKeysTableName);
    }
}

void DASMigrator::migrateFixedAndFeatureKeysTableForDefaultColumns(DataAccessServiceIfc* service) {
    const std::pair<const std::string&, const std::string&> tables[] = {
        {FixedKeysSchema, FixedKeysTableName}, {FeatureKeysSchema, FeatureKeysTableName}};
    for (const auto& [schema, table] : tables) {
        bringIntoOrder(service, schema, table);
    }
}

void DASMigrator::migrateBluetoothTrustedDevices(DataAccessServiceIfc* service) {
    if (!isThere(service, BluetoothTrustedTableName)) {
        return;
    }
    (void)rebuildIntoDaoColumns(service, BluetoothTrustedSchema, BluetoothTrustedTableName);
    PairList condition = {{UserContextTagName, EmptyDBString}};
    std::string count = "0";
    service->getAdapter()->getRowCount(BluetoothTrustedTableName, condition, count);
    if (count != "0") {
        giveDevicesToBase(service);
    }
}

void DASMigrator::dbCheckAndMigrateLineKeySettingsDefaults(DataAccessServiceIfc* service) {
    const auto dao = createDao(service, LineKeySettingsSchema);
    std::vector<std::string> values;
    std::vector<std::string> conditions;
    for (const DASUtils::ColumnInfo& column : dao->columns()) {
        if (!column.defaults.front().empty()) {
            values.push_back(column.name + " = COALESCE(" + column.name + ", " +
                             DASUtils::convertToDBFormat(column.defaults.front()) + ")");
            conditions.push_back(column.name + " IS NULL");
        }
    }
    const std::string sql = "UPDATE LINE_KEY_SETTINGS SET " + ClientUtils::join(values, ", ") +
                            " WHERE " + ClientUtils::join(conditions, " OR ") + ";";
    (void)service->getAdapter()->executeNonQuery(sql);  // a failure is in the log
}

void DASMigrator::addDefaultRowsToExistingTablesWhereMissing(DataAccessServiceIfc* service) {
    for (const GrownTable& grown : GrownTables) {
        if (isRowPresent(service, *grown.table, IdTagName, grown.id)) {
            bringGrownIntoOrder(service, grown);
        } else if (grown.special != nullptr) {
            grown.special(service);
        } else {
            addMissingRows(service, *grown.schema, *grown.table);
        }
    }
}
