// What several steps need. Readers of the log know all steps as one class, so this file logs under
// that name.

#define DAS_LOG_SOURCE "./src/DASMigrator"

#include "upgrade/StepHelpers.h"

#include <strings.h>

#include <algorithm>
#include <array>
#include <cstring>

#include "ClientUtils.h"
#include "DASUtilsStrings.h"
#include "DasCrypt.h"
#include "DataAccessServiceIfc.h"
#include "DeviceFile.h"
#include "Log.h"
#include "dao/DASUtils.h"
#include "database/DatabaseAdapter.h"

namespace {

using namespace DASUtilsStrings;

const char* const PreviousVersionFile = "/.QuilldeskRootFileSystemImageVersion.prev.txt";
const char* const OlderProtocol = "SIP";

const char* const MigrationFiles[] = {"/Aurel_Deploy/DasMigrationValues.csv",
                                      "/Aurel_Deploy/DasMigrationValues.csv.out",
                                      "/Aurel_Deploy/DasMigrationValues.csv.ftp"};

const std::string InsertSettingStatement =
    "INSERT OR REPLACE INTO GENERAL_CONFIG (Schema, UserContext, Name, Value) "
    "VALUES (?, ?, ?, ?);";

/// Quotes a name so that SQL accepts any characters in it.
std::string quotedName(const std::string& name) {
    return "\"" + DASUtils::escapeReservedCharacter(name, '"', '"') + "\"";
}

}  // namespace

const std::vector<std::string>& StepHelpers::settingsColumns() {
    static const std::vector<std::string> columns = {"Schema", UserContextTagName, "Name", "Value"};
    return columns;
}

PairList StepHelpers::settingConditions(const std::string& schema, const std::string& context,
                                        const std::string& name) {
    return {{settingsColumns()[SchemaCell], DASUtils::escapeAndQuote(schema)},
            {settingsColumns()[ContextCell], DASUtils::escapeAndQuote(context)},
            {settingsColumns()[NameCell], DASUtils::escapeAndQuote(name)}};
}

int StepHelpers::readSettings(DataAccessServiceIfc* service,
                              const std::vector<std::string>& columns, const PairList& conditions,
                              Rows& rows) {
    return DASUtils::readRows(*service->getAdapter(), GeneralConfigTableName, columns, conditions,
                              rows);
}

bool StepHelpers::maySettingBePresent(DataAccessServiceIfc* service, PairList conditions) {
    return DASUtils::countOf(*service->getAdapter(), GeneralConfigTableName, conditions) != "0";
}

bool StepHelpers::haveEqualCounts(DatabaseAdapter& adapter, const std::string& one,
                                  const std::string& other) {
    const std::string count = DASUtils::countOf(adapter, one);
    return !count.empty() && count == DASUtils::countOf(adapter, other);
}

void StepHelpers::execute(DataAccessServiceIfc* service, const std::string& sql) {
    Rows none;
    (void)service->getAdapter()->executeSQLQuery(sql, none);
}

int StepHelpers::insertSetting(DatabaseAdapter& adapter, const std::string& schema,
                               const std::string& context, const std::string& name,
                               const std::string& value) {
    return adapter.convertSQLiteStatusToAdapterStatus(
        adapter.executeWithValues(InsertSettingStatement, {schema, context, name, value}));
}

long StepHelpers::rowsOf(DataAccessServiceIfc* service, const std::string& table) {
    std::string count;
    (void)DASUtils::getRowCount(*service->getAdapter(), table, count);
    return ClientUtils::stoi(count);
}

std::vector<std::string> StepHelpers::columnsOf(DatabaseAdapter& adapter,
                                                const std::string& table) {
    std::vector<std::string> names;
    (void)adapter.getColumnNames(table, names);
    return names;
}

bool StepHelpers::hasColumn(const std::vector<std::string>& columns, const std::string& name) {
    return std::any_of(columns.begin(), columns.end(), [&](const std::string& column) {
        return ::strcasecmp(column.c_str(), name.c_str()) == 0;
    });
}

void StepHelpers::logGivenUpColumns(DatabaseAdapter& adapter, const std::string& table,
                                    const std::vector<std::string>& columns,
                                    const std::vector<std::string>& kept) {
    for (const std::string& column : columns) {
        if (!hasColumn(kept, column)) {
            std::string values;
            adapter.getRowCount(
                "SELECT COUNT(NULLIF(" + quotedName(column) + ", '')) FROM " + table + ";", values);
            DAS_LOG(2, "The column %s of %s is given up with its values: %s", column.c_str(),
                    table.c_str(), values.c_str());
        }
    }
}

bool StepHelpers::runAll(DatabaseAdapter& adapter, const std::vector<std::string>& statements) {
    return std::all_of(statements.begin(), statements.end(), [&](const std::string& statement) {
        return adapter.executeNonQuery(statement) == 0;
    });
}

bool StepHelpers::encrypt(const std::string& plain, std::string& encrypted) {
    encrypted = DasCrypt::toEncryptedText(plain);
    if (encrypted.empty() && !plain.empty()) {
        DAS_LOG(2, "A password can't be encrypted, it stays as it is");
        return false;
    }
    return true;
}

bool StepHelpers::olderProtocolRan() {
    // The file comes with the image. Whatever it contains, at most one line of limited length is
    // read.
    std::array<char, 4096> line{};
    DeviceFile file(PreviousVersionFile);
    file.getline(line.data(), line.size());  // the line stays blank if it can't be read
    return std::strstr(line.data(), OlderProtocol) != nullptr;
}

void StepHelpers::removeMigrationFiles() {
    for (const char* file : MigrationFiles) {
        DASUtils::removeDataFile(file);
    }
}
