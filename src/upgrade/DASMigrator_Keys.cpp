// Keys that moved: fixed keys went to tables of their own, destinations of keys to other ids.

#include <algorithm>
#include <cstdlib>
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
#include "upgrade/KeyRowMove.h"
#include "upgrade/StepHelpers.h"
#include "upgrade/TableRebuild.h"

namespace {

using namespace DASUtilsStrings;

// Fixed keys ------------------------------------------------------------------------------------

/// Older releases stored fixed keys among the programmable ones.
struct FixedKeysOf {
    const std::string& schema;
    const std::string& table;
    const std::string& fixedSchema;
    const std::string& fixedTable;
    std::vector<std::string> columns;  ///< columns after context and id; the first one is the value
};

const std::vector<std::string> MovedIds = {"30", "31", "38", "39"};
const std::vector<std::string> CopiedIds = {"32"};  ///< ids that are still programmable and are now
                                                    ///< fixed keys as well

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

/// Sets the function of fixed keys that have none: to that of the hardware, or to blank if the
/// hardware has no such key.
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

}  // namespace

void DASMigrator::migrateFeatureKeysTable(DataAccessServiceIfc* service) {
    if (!StepHelpers::columnsOf(*service->getAdapter(), FeatureKeysTableName).empty()) {
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

// Destinations of keys ---------------------------------------------------------------------------

namespace {

const char* const DestinationsTable = "FORWARDING_KEY_DESTINATIONS";
constexpr int NumberOfNewIds = 144;  ///< the ids inserted below those of the busy lamps

/// Cells of a row of destinations.
enum DestinationCell : std::size_t { UserCell, IdCell, NumberCell, TypeCell };

/// A row that gets another id.
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

/// If the new id has no default row, the row is inserted, since its number is stored nowhere else.
/// The update affects the id in every context, and the later of two rows wins: kept on purpose, the
/// two users of a telephone have always shared these lamps after an upgrade.
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

/// Whether @p work returned true for each row; it stops at the first row for which it did not.
template <typename Work>
bool forEachRow(DatabaseAdapter& adapter, const std::vector<Destination>& rows, Work work) {
    return std::all_of(rows.begin(), rows.end(),
                       [&](const Destination& row) { return work(adapter, row); });
}

/// A table that lacks columns at its end does not change, and moving one of its rows throws
/// std::out_of_range: kept on purpose, no release made such a table.
void bringCellsIntoOrder(DataAccessServiceIfc* service) {
    const TableForm form =
        DASMigrator::formOf(service, ForwardingKeyDestinationsSchema, DestinationsTable);
    const bool lacksCellsAtEnd = form.inPlace == form.columns && form.columns <= TypeCell;
    if (!lacksCellsAtEnd) {
        (void)DASMigrator::rebuildIntoDaoColumns(service, ForwardingKeyDestinationsSchema,
                                                 DestinationsTable);
    }
}

/// Makes the ids of default rows free by moving the rows that @p selection returns away from them.
/// All of it is one transaction, because a row that has moved must not be found and moved a second
/// time.
void renumberDestinations(DataAccessServiceIfc* service, const char* selection) {
    bringCellsIntoOrder(service);
    DatabaseAdapter& adapter = *service->getAdapter();
    Rows rows;
    (void)adapter.executeSQLQuery(selection, rows);  // a missing table has no rows to move
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
        DAS_LOG(2, "The rows of %s keep their ids", DestinationsTable);
    }
}

}  // namespace

void DASMigrator::moveBusyLamps(DataAccessServiceIfc* service) {
    renumberDestinations(service,
                         "SELECT * FROM FORWARDING_KEY_DESTINATIONS WHERE CAST(Id AS INT)>617");
}

// This step runs only if no row has the id '32'. So it can only find a row whose id has another
// form, such as '032', and usually moves nothing: kept on purpose, its effect is that the default
// rows are added.
void DASMigrator::moveKey32(DataAccessServiceIfc* service) {
    renumberDestinations(service,
                         "SELECT * FROM FORWARDING_KEY_DESTINATIONS WHERE CAST(Id AS INT)=32");
}
