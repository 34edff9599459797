// The tables: each is brought into the columns of its object, and rows that moved or are missing
// get their places.

#include <algorithm>
#include <cstdlib>
#include <iterator>

#include "ClientUtils.h"
#include "DASUtilsStrings.h"
#include "DataAccessServiceIfc.h"
#include "dao/DASUtils.h"
#include "dao/DataAccessObject.h"
#include "database/AdapterGuards.h"
#include "database/DatabaseAdapter.h"
#include "database/Logging.h"
#include "upgrade/DASMigrator.h"
#include "upgrade/KeyRowMove.h"
#include "upgrade/TableRebuild.h"

namespace {

constexpr const char* LogComponent = "DataAccessService";
constexpr const char* LogSource = "./src/DASMigrator";

using namespace DASUtilsStrings;

std::vector<std::string> columnsOf(DataAccessServiceIfc* service, const std::string& table) {
    std::vector<std::string> names;
    (void)service->getAdapter()->getColumnNames(table, names);  // none for a missing table
    return names;
}

bool isThere(DataAccessServiceIfc* service, const std::string& table) {
    return !columnsOf(service, table).empty();
}

/// Whether the count of the rows that match is known and is 0.
bool isKnownToHaveNo(DataAccessServiceIfc* service, const std::string& table, PairList conditions) {
    std::string count;
    return service->getAdapter()->countRows(table, conditions, count) == 0 && count == "0";
}

bool makeTable(DataAccessObject& dao, const std::string& table) {
    if (dao.createTable() != 0) {
        DAS_LOG(2, "The table %s can be neither read nor made", table.c_str());
        return false;
    }
    (void)dao.insertDefaultRows(true);  // a failure is in the log
    return true;
}

/// Brings the table into its columns; makes it with its default rows when it is missing. Whether
/// something was changed.
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

/// The same, with the default rows that the table lacks.
void rebuildAndFill(DataAccessServiceIfc* service, const std::string& schema,
                    const std::string& table) {
    (void)bringIntoForm(service, schema, table, TableRebuild::DefaultRows::Add);
}

/// Adds the default rows that a table lacks; rows fit only into its present columns.
void addMissingRows(DataAccessServiceIfc* service, const std::string& schema,
                    const std::string& table) {
    if (isThere(service, table)) {
        (void)DASMigrator::rebuildIntoDaoColumns(service, schema, table);
    }
    DASMigrator::migrateTableByAddingMissingDefaultLines(service, schema);
}

// Keys that went to tables of their own ----------------------------------------------------------

/// Fixed keys once stood among the programmable ones.
struct FixedKeysOf {
    const std::string& schema;
    const std::string& table;
    const std::string& fixedSchema;
    const std::string& fixedTable;
    std::vector<std::string> columns;  ///< behind context and id, the value first
};

const std::vector<std::string> MovedIds = {"30", "31", "38", "39"};
const std::vector<std::string> CopiedIds = {"32"};  ///< programmable still, and fixed as well

void moveFixedKeys(DataAccessServiceIfc* service, const FixedKeysOf& keys) {
    (void)DASMigrator::rebuildIntoDaoColumns(service, keys.schema, keys.table);
    (void)DASMigrator::rebuildIntoDaoColumns(service, keys.fixedSchema, keys.fixedTable);
    DatabaseAdapter& adapter = *service->getAdapter();
    const KeyRowMove rows(adapter, keys.table, keys.fixedTable, keys.columns);
    const bool moved = runWholeOrNot(adapter, [&] {
        return rows.copy(CopiedIds, KeyRowMove::Rows::WithValue) &&
               rows.move(MovedIds, KeyRowMove::Rows::All);
    });
    if (!moved) {
        DAS_LOG(2, "The fixed keys stay in %s", keys.table.c_str());
    }
}

/// Gives fixed keys without a function that of the hardware, blank where it has no such key.
void setMissingFunctions(DataAccessServiceIfc* service) {
    const auto dao = DASMigrator::createDao(service, FixedKeysSchema);
    std::string sql = "UPDATE FIXED_KEYS SET Function = CASE Id";
    for (const DASUtils::ColumnInfo& column : dao->columns()) {
        if (column.name == FunctionTagName) {
            for (std::size_t i = 0; i < dao->defaultRowIds().size(); ++i) {
                sql += " WHEN " + DASUtils::convertToDBFormat(dao->defaultRowIds()[i]) + " THEN " +
                       DASUtils::convertToDBFormat(column.defaults.at(i));
            }
        }
    }
    sql += " ELSE '' END WHERE Function = '0';";
    if (service->getAdapter()->executeNonQuery(sql) != 0) {
        DAS_LOG(2, "The functions of %s stay as they are", FixedKeysTableName.c_str());
    }
}

/// Devices without a user are the owner's. One that he has as well is there twice, and goes.
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

// Default rows of longer ranges of keys ----------------------------------------------------------

const char* const destinationsTable = "FORWARDING_KEY_DESTINATIONS";
constexpr int NumberOfNewIds = 144;  ///< that came in between, below the ids of the busy lamps

/// Cells of a row of destinations.
enum DestinationCell : std::size_t { UserCell, IdCell, NumberCell, TypeCell };

/// A row that moves.
struct Destination {
    std::vector<std::string> cells;
    std::string newId;
};

Destination moved(const std::vector<std::string>& row) {
    const long oldId = std::strtol(row.at(IdCell).c_str(), nullptr, 10);
    return {{row.at(UserCell), row.at(IdCell), row.at(NumberCell), row.at(TypeCell)},
            ClientUtils::int64tos(static_cast<long long>(oldId) + NumberOfNewIds)};
}

bool deleteRow(DatabaseAdapter& adapter, const Destination& row) {
    return adapter.executeWithValues(
               "DELETE FROM FORWARDING_KEY_DESTINATIONS WHERE UserContext = ? AND Id = ?;",
               {row.cells[UserCell], row.cells[IdCell]}) == 0;
}

/// A row of an id that has no default row is inserted: its number has no other place. The update
/// reaches the id in every context, and the later of two rows wins: kept on purpose, the two users
/// of a telephone have always shared these lamps after an upgrade.
bool storeUnderNewId(DatabaseAdapter& adapter, const Destination& row) {
    DAS_LOG(5, "Migration of blf buttons after adding default rows");
    const std::string& number = row.cells[NumberCell];
    const std::string& type = row.cells[TypeCell];
    return adapter.executeWithValues(
               "INSERT INTO FORWARDING_KEY_DESTINATIONS (UserContext, Id) SELECT ?1, ?2 WHERE NOT "
               "EXISTS (SELECT 1 FROM FORWARDING_KEY_DESTINATIONS WHERE UserContext = ?1 AND Id = "
               "?2);",
               {row.cells[UserCell], row.newId}) == 0 &&
           adapter.executeWithValues(
               "UPDATE FORWARDING_KEY_DESTINATIONS SET ForwardingDialNumber = ?, ForwardingType = "
               "? WHERE Id = ?;",
               {number, type, row.newId}) == 0;
}

/// Whether @p work gave true for each row; it ends with the first that did not.
template <typename Work>
bool forEachRow(DatabaseAdapter& adapter, const std::vector<Destination>& rows, Work work) {
    return std::all_of(rows.begin(), rows.end(),
                       [&](const Destination& row) { return work(adapter, row); });
}

/// A table that lacks cells at its end stays as it is, and a row to move throws std::out_of_range:
/// kept on purpose, no release made such a table.
void bringCellsIntoOrder(DataAccessServiceIfc* service) {
    const TableForm form =
        DASMigrator::formOf(service, ForwardingKeyDestinationsSchema, destinationsTable);
    const bool lacksCellsAtEnd = form.inPlace == form.columns && form.columns <= TypeCell;
    if (!lacksCellsAtEnd) {
        (void)DASMigrator::rebuildIntoDaoColumns(service, ForwardingKeyDestinationsSchema,
                                                 destinationsTable);
    }
}

/// Makes place for the default rows of ids that the rows which @p selection gives stand on. All of
/// it is one transaction: a row that moved must not be found, and moved, a second time.
void renumberDestinations(DataAccessServiceIfc* service, const char* selection) {
    bringCellsIntoOrder(service);
    DatabaseAdapter& adapter = *service->getAdapter();
    Rows rows;
    (void)adapter.executeSQLQuery(selection, rows);  // a missing table has none to move
    if (rows.empty()) {
        DASMigrator::migrateTableByAddingMissingDefaultLines(service,
                                                             ForwardingKeyDestinationsSchema);
        return;
    }
    DAS_LOG(5, " BLF ROW(Row count = %d ) will be deleted and created with the new IDs",
            static_cast<int>(rows.size()));
    std::vector<Destination> destinations;
    std::transform(rows.begin(), rows.end(), std::back_inserter(destinations), moved);
    const auto dao = DASMigrator::createDao(service, ForwardingKeyDestinationsSchema);
    const bool stored = runWholeOrNot(adapter, [&] {
        return forEachRow(adapter, destinations, deleteRow) &&
               dao->insertDefaultRowsInTransaction(true) == 0 &&
               forEachRow(adapter, destinations, storeUnderNewId);
    });
    if (!stored) {
        DAS_LOG(2, "The rows of %s keep their ids", destinationsTable);
    }
}

void moveBusyLamps(DataAccessServiceIfc* service) {
    renumberDestinations(service,
                         "SELECT * FROM FORWARDING_KEY_DESTINATIONS WHERE CAST(Id AS INT)>617");
}

/// Finds a row only when its id is another text for 32, since it runs without a row '32': kept on
/// purpose, what counts is the default rows that it adds.
void moveKey32(DataAccessServiceIfc* service) {
    renumberDestinations(service,
                         "SELECT * FROM FORWARDING_KEY_DESTINATIONS WHERE CAST(Id AS INT)=32");
}

/// A table that lacks its default rows when it has no row of this id.
struct GrownTable {
    const std::string* table;
    const char* id;
    const std::string* schema;
    void (*special)(DataAccessServiceIfc*);  ///< in place of adding the rows; may be null
};

const GrownTable GrownTables[] = {
    {&BCASettingsTableName, "'10'", &BCASettingsSchema, nullptr},
    {&DeflectKeyDestinationsTableName, "'1017'", &DeflectKeyDestinationsSchema, nullptr},
    {&DssKeySettingsTableName, "'109'", &DssKeySettingsSchema, nullptr},
    {&FeatureKeysTableName, "'1017'", &FeatureKeysSchema, nullptr},
    {&FeatureToggleKeySettingsTableName, "'109'", &FeatureToggleKeySettingsSchema, nullptr},
    {&ForwardingKeyDestinationsTableName, "'109'", &ForwardingKeyDestinationsSchema, moveBusyLamps},
    {&ForwardingKeyDestinationsTableName, "'32'", &ForwardingKeyDestinationsSchema, moveKey32},
    {&LineKeySettingsTableName, "'109'", &LineKeySettingsSchema, nullptr},
    {&RepertoryDiallingTableName, "'1017'", &RepertoryDiallingSchema, nullptr},
    {&SelectedDiallingTableName, "'1017'", &SelectedDiallingSchema, nullptr},
    {&StartApplicationTableName, "'1017'", &StartApplicationSchema, nullptr},
    {&StimulusKeySettingsTableName, "'200'", &StimulusKeySettingsSchema, nullptr},
    {&LineKeySettingsTableName, "'200'", &LineKeySettingsSchema, nullptr},
    {&DssKeySettingsTableName, "'200'", &DssKeySettingsSchema, nullptr},
    {&FeatureToggleKeySettingsTableName, "'200'", &FeatureToggleKeySettingsSchema, nullptr},
};

/// Tables of these whose columns no other step looks at.
const std::string* const TablesWithoutStep[] = {
    &DeflectKeyDestinationsTableName,    &FeatureToggleKeySettingsTableName,
    &ForwardingKeyDestinationsTableName, &RepertoryDiallingTableName,
    &SelectedDiallingTableName,          &StartApplicationTableName};

/// Brings a table that has its default rows into the columns of its object.
void bringIntoOrder(DataAccessServiceIfc* service, const GrownTable& grown) {
    const bool isLookedAt = std::any_of(std::begin(TablesWithoutStep), std::end(TablesWithoutStep),
                                        [&](const auto* table) { return table == grown.table; });
    if (isLookedAt && !DASMigrator::formOf(service, *grown.schema, *grown.table).isInOrder()) {
        (void)DASMigrator::rebuildIntoDaoColumns(service, *grown.schema, *grown.table);
    }
}

}  // namespace

TableForm DASMigrator::formOf(DataAccessServiceIfc* service, const std::string& schema,
                              const std::string& table) {
    return {*createDao(service, schema), columnsOf(service, table)};
}

bool DASMigrator::rebuildIntoDaoColumns(DataAccessServiceIfc* service, const std::string& schema,
                                        const std::string& table) {
    return bringIntoForm(service, schema, table, TableRebuild::DefaultRows::Leave);
}

void DASMigrator::migrateTableForMobility(DataAccessServiceIfc* service, const std::string& table,
                                          const std::string& schema, bool visitorRows,
                                          int columns) {
    const auto dao = createDao(service, schema);
    if (visitorRows && isKnownToHaveNo(service, table, {})) {
        // An empty table never gets its rows later; a missing one comes with them, now or when it
        // is needed.
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

void DASMigrator::migrateFeatureKeysTable(DataAccessServiceIfc* service) {
    if (isThere(service, FeatureKeysTableName)) {
        moveFixedKeys(service, {FeatureKeysSchema,
                                FeatureKeysTableName,
                                FixedKeysSchema,
                                FixedKeysTableName,
                                {FunctionTagName, LockedTagName, LabelTagName, LocalTagName}});
    }
}

void DASMigrator::migrateStartAppKeysTable(DataAccessServiceIfc* service) {
    moveFixedKeys(service, {StartApplicationSchema,
                            StartApplicationTableName,
                            StartApplicationFixedKeysSchema,
                            StartApplicationFixedKeysTableName,
                            {ApplicationNameTagName}});
}

void DASMigrator::migrateFixedKeysTable(DataAccessServiceIfc* service) {
    rebuildAndFill(service, FixedKeysSchema, FixedKeysTableName);
    setMissingFunctions(service);
}

void DASMigrator::migrateFeatureKeysTableForDefaultRows(DataAccessServiceIfc* service) {
    constexpr int keysOfUser = 177;
    PairList conditions = {{UserContextTagName, DASUtils::convertToDBFormat(UserContextBase)}};
    std::string count;
    const bool isKnown =
        service->getAdapter()->countRows(FeatureKeysTableName, conditions, count) == 0;
    if (isKnown && ClientUtils::stoi(count) < keysOfUser) {
        addMissingRows(service, FeatureKeysSchema, FeatureKeysTableName);
    }
}

void DASMigrator::migrateFixedAndFeatureKeysTableForDefaultColumns(DataAccessServiceIfc* service) {
    const std::pair<const std::string&, const std::string&> tables[] = {
        {FixedKeysSchema, FixedKeysTableName}, {FeatureKeysSchema, FeatureKeysTableName}};
    for (const auto& [schema, table] : tables) {
        if (!formOf(service, schema, table).isInOrder()) {
            (void)rebuildIntoDaoColumns(service, schema, table);
        }
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
            bringIntoOrder(service, grown);
        } else if (grown.special != nullptr) {
            grown.special(service);
        } else {
            addMissingRows(service, *grown.schema, *grown.table);
        }
    }
}
