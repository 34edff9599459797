// The settings of file downloads, which move out of older tables with unencrypted passwords. All
// rows move inside the database, so that no byte of a value can break a statement.

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
using namespace StepHelpers;

/// The condition that a row is one of the default rows of @p dao.
std::string isDefaultRow(const DataAccessObject& dao) {
    std::vector<std::string> rows;
    for (std::size_t row = 0; row < dao.defaultRowIds().size(); ++row) {
        std::vector<std::string> cells;
        for (const DASUtils::ColumnInfo& column : dao.columns()) {
            const bool isKey = cells.empty();
            const std::string& value =
                isKey ? dao.defaultRowIds()[row]
                      : column.defaults.at(column.defaults.size() > 1 ? row : 0);
            cells.push_back(column.name + " IS " + DASUtils::escapeAndQuote(value));
        }
        rows.push_back("(" + ClientUtils::join(cells, " AND ") + ")");
    }
    return ClientUtils::join(rows, " OR ");
}

enum class NewRows { None, Defaults, Own, Unknown };

/// The contents of the table of encrypted passwords.
NewRows look(DatabaseAdapter& adapter, const DataAccessObject& dao) {
    if (columnsOf(adapter, dao.tableName()).empty()) {
        return NewRows::None;
    }
    Rows counts;
    if (adapter.executeSQLQuery("SELECT COUNT(*), COUNT(CASE WHEN " + isDefaultRow(dao) +
                                    " THEN 1 END) FROM " + dao.tableName() + ";",
                                counts) != 0) {
        return NewRows::Unknown;
    }
    return counts.at(0).at(0) == counts.at(0).at(1) ? NewRows::Defaults : NewRows::Own;
}

/// The older table had no key. Of several rows with the same type, the last one stays.
bool removeDoubles(DatabaseAdapter& adapter, const std::string& table) {
    Rows removed;
    if (adapter.executeNonQuery("DELETE FROM " + table +
                                " WHERE rowid NOT IN (SELECT MAX(rowid) FROM " + table +
                                " GROUP BY CAST(COALESCE(FileType, '') AS TEXT));") != 0 ||
        adapter.executeSQLQuery("SELECT changes();", removed) != 0) {
        return false;
    }
    if (removed.at(0).at(0) != "0") {
        DAS_LOG(2, "%s rows of %s are given up, since a later one has their type",
                removed.at(0).at(0).c_str(), table.c_str());
    }
    return true;
}

bool encryptPasswords(DatabaseAdapter& adapter, const std::string& table) {
    Rows rows;
    if (adapter.executeSQLQuery(
            "SELECT rowid, FtpPassword FROM " + table + " WHERE FtpPassword <> '';", rows) != 0) {
        return false;
    }
    for (const auto& row : rows) {
        DAS_LOG(5, "migrateToEncryptedFTPPass encrypt  FtpPassword");
        std::string encrypted;
        if (!encrypt(row.at(1), encrypted) ||
            adapter.executeWithValues(
                "UPDATE " + table + " SET FtpPassword = ? WHERE rowid = " + row.at(0) + ";",
                {encrypted}) != 0) {
            return false;
        }
    }
    return true;
}

/// Fills the new table with the rows of the older one, which is then dropped; in the caller's
/// transaction.
bool move(DatabaseAdapter& adapter, DataAccessObject& dao, const std::string& oldTable,
          NewRows newRows) {
    const bool isReady = newRows == NewRows::None
                             ? dao.createTable() == 0
                             : adapter.executeNonQuery("DELETE FROM " + dao.tableName() + ";") == 0;
    const std::vector<std::string> columns = columnsOf(adapter, oldTable);
    logGivenUpColumns(adapter, oldTable, columns, dao.columnNames());
    return isReady && removeDoubles(adapter, oldTable) &&
           TableRebuild(adapter, dao, columns).copyFrom(oldTable) &&
           encryptPasswords(adapter, dao.tableName()) &&
           adapter.executeNonQuery("DROP TABLE " + oldTable + ";") == 0;
}

const char* const OldestTable = "FTP_SETTINGS";

/// The oldest table moves in the step for users, which runs once. If that failed, it is tried again
/// here, as long as no client has changed the rows of the new table.
void moveWhatStayed(DataAccessServiceIfc* service) {
    DatabaseAdapter& adapter = *service->getAdapter();
    if (!adapter.isTableKnown(OldestTable)) {
        return;
    }
    const NewRows newRows =
        look(adapter, *DASMigrator::createDao(service, FileDownloadSettingsSchema));
    if (newRows == NewRows::None || newRows == NewRows::Defaults) {
        DASMigrator::migrateFtpSettingsTable(service);
    }
}

}  // namespace

void DASMigrator::migrateToEncryptedFTPPass(DataAccessServiceIfc* service) {
    DatabaseAdapter& adapter = *service->getAdapter();
    const std::string& oldTable = FileDownloadSettingsTableName;
    if (rowsOf(service, oldTable) == 0) {
        moveWhatStayed(service);
        return;
    }
    const auto dao = createDao(service, FileDownloadSettingsSchema);
    const NewRows newRows = look(adapter, *dao);
    // Rows without a type can't be stored in the new table. Then no move is tried, since each start
    // would roll it back.
    const bool mayMove =
        newRows != NewRows::Unknown && hasColumn(columnsOf(adapter, oldTable), "FileType");
    const bool isGone = newRows == NewRows::Own ? adapter.dropTable(oldTable) == 0
                                                : mayMove && runWholeOrNot(adapter, [&] {
                                                      return move(adapter, *dao, oldTable, newRows);
                                                  });
    if (isGone) {
        removeMigrationFiles();
    } else {
        DAS_LOG(2, "%s is left as it was", oldTable.c_str());
    }
}

namespace {

// Cells of a row of the oldest table, by their places.
constexpr std::size_t LineKind = 0;
constexpr std::size_t LineServer = 1;
constexpr std::size_t LineUser = 4;
constexpr std::size_t LinePassword = 5;
constexpr std::size_t LinePath = 6;
constexpr std::size_t LineFile = 13;

constexpr long RowsWithoutTheLast = 8;

const char* const StoreDownload =
    "INSERT OR REPLACE INTO FILEDOWNLOAD_SETTINGS_ENC (FileType, UseDefaults, ServerAddress, "
    "FtpUsername, FtpPassword, FtpPath, Filename) VALUES (?, ?, ?, ?, ?, ?, ?);";

bool isTakenOver(const std::vector<std::string>& line) {
    return line.at(LineKind) == "Default" || line.at(LineKind) == "SwPhone";
}

/// Converts a row of the oldest table to a row of file downloads.
std::vector<std::string> asDownloadRow(const std::vector<std::string>& line,
                                       const std::string& encryptedPassword) {
    const bool isDefault = line.at(LineKind) == "Default";
    const bool usesDefaults = !isDefault && line.at(LineServer).empty();
    return {isDefault ? "0" : "1", usesDefaults ? "true" : "false",
            line.at(LineServer),   line.at(LineUser),
            encryptedPassword,     line.at(LinePath),
            line.at(LineFile)};
}

/// Stores the rows of the oldest table, which is then dropped; in the caller's transaction.
bool moveOldest(DatabaseAdapter& adapter) {
    Rows rows;
    if (adapter.executeSQLQuery("SELECT * FROM FTP_SETTINGS ORDER BY rowid;", rows) != 0 ||
        rows.at(0).size() <= LineFile) {
        return false;
    }
    for (const auto& row : rows) {
        std::string encrypted;
        if (isTakenOver(row) &&
            (!encrypt(row.at(LinePassword), encrypted) ||
             adapter.executeWithValues(StoreDownload, asDownloadRow(row, encrypted)) != 0)) {
            return false;
        }
    }
    return adapter.dropTable(OldestTable) == 0;
}

/// Adds a row for a type that was introduced after the older table.
void addLastType(DatabaseAdapter& adapter, const DataAccessObject& dao) {
    std::vector<std::string> row = {"'9'", "'false'", "'0'", EmptyDBString, "'21'"};
    row.insert(row.end(), 7, EmptyDBString);
    row.emplace_back("'0'");
    (void)adapter.insertRow(FileDownloadSettingsTableName, dao.columnNames(), row,
                            nullptr);  // logged
}

}  // namespace

void DASMigrator::migrateFtpSettingsTable(DataAccessServiceIfc* service) {
    DatabaseAdapter& adapter = *service->getAdapter();
    const std::string& newTable = FileDownloadSettingsTableName;
    const long newRows = rowsOf(service, newTable);
    if (rowsOf(service, OldestTable) == 0) {
        DAS_LOG(5, "%s does not exist - not migrated", OldestTable);
    } else if (newRows == 0) {
        DAS_LOG(5, "migrating %s table", OldestTable);
        createTableAndDefaultRows(service, FileDownloadSettingsSchema);
        if (runWholeOrNot(adapter, [&] { return moveOldest(adapter); })) {
            DAS_LOG(5, "%s data migrated to %s", OldestTable, newTable.c_str());
            DAS_LOG(5, "%s table dropped", OldestTable);
            removeMigrationFiles();
        } else {
            DAS_LOG(2, "%s is left as it was", OldestTable);
        }
    }
    if (newRows == RowsWithoutTheLast) {
        addLastType(adapter, *createDao(service, FileDownloadSettingsSchema));
    }
}
