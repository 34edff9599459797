// Settings of older protocols, and passwords that older releases stored as they were.

#include <algorithm>
#include <cstdio>

#include "ClientUtils.h"
#include "DASUtilsStrings.h"
#include "DasCrypt.h"
#include "DataAccessServiceIfc.h"
#include "dao/CsvFile.h"
#include "dao/DASUtils.h"
#include "database/AdapterGuards.h"
#include "database/DatabaseAdapter.h"
#include "database/Logging.h"
#include "upgrade/DASMigrator.h"

namespace {

constexpr const char* LogComponent = "DataAccessService";
constexpr const char* LogSource = "./src/DASMigrator";

using namespace DASUtilsStrings;

const char* const migrationFile = "/Aurel_Deploy/DasMigrationValues.csv";
const std::string ftpSuffix = ".ftp";
const std::string encryptedSuffix = "Enc";

/// A setting whose value is stored encrypted, under the same name with "Enc" behind it.
struct EncryptedSetting {
    const std::string* schema;
    const char* item;
};

const EncryptedSetting EncryptedSettings[] = {
    {&SnmpSettingsSchema, "QcuCommunity"},      {&SnmpSettingsSchema, "SnmpGetPassword"},
    {&SnmpSettingsSchema, "SnmpTrapCommunity"}, {&DirectorySchema, "LdapPassword"},
    {&BluetoothSettingsSchema, "PIN"},          {&SipBaseSettingsSchema, "SIPpassword"}};

struct SrtpMethod {
    const char* name;
    const char* first;
    const char* rank;
};

const SrtpMethod SrtpMethods[] = {{"AES_CM_256_SHA_80", "'2'", "'1'"},
                                  {"AEAD_AES_256_GCM", "'4'", "'2'"},
                                  {"AEAD_AES_128_GCM", "'3'", "'3'"}};
constexpr int AllSrtpRows = 5;

long rowsOf(DataAccessServiceIfc* service, const std::string& table) {
    PairList all;
    std::string count;
    service->getAdapter()->getRowCount(table, all, count);
    return ClientUtils::stoi(count);
}

/// Encrypts @p plain. False, and a log line, when a text that is not blank could not be encrypted.
bool encrypt(const std::string& plain, std::string& encrypted) {
    encrypted = DasCrypt::toEncryptedText(plain);
    if (encrypted.empty() && !plain.empty()) {
        DAS_LOG(2, "A password can't be encrypted, it stays as it is");
        return false;
    }
    return true;
}

int insertSetting(DatabaseAdapter& adapter, const std::string& schema, const std::string& context,
                  const std::string& name, const std::string& value) {
    std::vector<std::string> row = DASMigrator::constructColumns(schema, context, name, value);
    return adapter.insert(GeneralConfigTableName, row, nullptr);
}

}  // namespace

// Negotiation of secure calls --------------------------------------------------------------------

void DASMigrator::upgradeFromV3ToWebRTC(DataAccessServiceIfc* service) {
    const auto isPresent = [service](const char* item) {
        return isRowPresent(service, GeneralConfigTableName, "Name", item);
    };
    const bool hasMethod = isPresent("'SrtpKeyNegotiationMethod'");
    const bool hasMode = isPresent("'SrtpKeyNegotiationMode'");
    const bool hasPayload = isPresent("'SecureCallPayloadOptions'");
    const bool hasSdpMode = isPresent("'SdpNegotiationMode'");
    DAS_LOG(
        5, "Existing of items: SRTPMethod - %d | SrtpMode - %d | PayloadOption - %d | SDPMode - %d",
        hasMethod, hasMode, hasPayload, hasSdpMode);
    const std::string reply = readAllFromSchema(service->getDAOFactory(), SipBaseSettingsSchema);
    const auto valueOf = [&reply](const char* item) {
        std::string rest = reply;
        std::string value;
        std::string context;
        (void)getValueFromReply(rest, item, value, context);
        return value;
    };
    const std::string method = valueOf("SrtpKeyNegotiationMethod");
    const std::string payload = valueOf("SecureCallPayloadOptions");
    DatabaseAdapter& adapter = *service->getAdapter();
    if (hasMethod && !hasMode) {
        DAS_LOG(5, "Migrate SRTP method from V3 to WEBRTC into SRTP mode in GENERAL_CONFIG");
        std::printf("SetupNewTaqSrtpMode - method %s - user %s \n", method.c_str(),
                    UserContextBase.c_str());
        if (insertSetting(adapter, SipBaseSettingsSchema, UserContextBase, "SrtpKeyNegotiationMode",
                          method) != 0) {
            DAS_LOG(2, "Failed to insert SrtpKeyNegotiationMode into GENERAL_CONFIG");
        }
    }
    if (hasPayload && !hasSdpMode) {
        DAS_LOG(5, "Migrate Payload option from V3 to WEBRTC into SDP mode in GENERAL_CONFIG");
        std::string mode = "0";
        if (method != "0") {
            mode = payload == "0" ? "1" : (payload == "1" ? "2" : "0");
        }
        if (insertSetting(adapter, SipBaseSettingsSchema, UserContextBase, "SdpNegotiationMode",
                          mode) != 0) {
            DAS_LOG(2, "Failed to insert SdpNegotiationMode into GENERAL_CONFIG");
        }
    }
}

void DASMigrator::addAesRow(DataAccessServiceIfc* service, const std::string& method,
                            const std::string& first, const std::string& rank) {
    std::vector<std::string> row = {first, rank, "'true'"};
    if (service->getAdapter()->insert(SrtpEncryptionSettingsTableName, row, nullptr) != 0) {
        DAS_LOG(2, "Failed to insert %s to SRTP encryption table", method.c_str());
    }
}

void DASMigrator::addMissingAesToSrtpEncryptionTable(DataAccessServiceIfc* service, int rowCount) {
    const int rowsToInsert = AllSrtpRows - rowCount;
    if (rowCount != 2 && rowCount != 3) {
        DAS_LOG(3, "Not adding AES methods to DB: nRowsToInsert=%d", rowsToInsert);
        return;
    }
    const bool all = rowCount == 2;
    const int startRank = all ? 1 : 2;
    if (all) {
        DAS_LOG(5, "Adding AES-256 and AES-GCM encryption methods starting at rank %d", startRank);
    } else {
        DAS_LOG(5, "Adding AES-GCM encryption methods starting at rank %d", startRank);
    }
    // Half of it would move the ranks once more at the next start.
    TransactionGuard transaction(*service->getAdapter());
    transaction.holdCommits();
    for (int rank = rowCount; rank >= startRank; --rank) {
        const std::string sql = "UPDATE " + SrtpEncryptionSettingsTableName + " SET Rank= '" +
                                ClientUtils::itos(rank + rowsToInsert) + "' WHERE Rank = '" +
                                ClientUtils::itos(rank) + "'";
        if (service->getAdapter()->executeNonQuery(sql) == 0) {
            DAS_LOG(5, "Increased rank %d with query %s", rank, sql.c_str());
        } else {
            DAS_LOG(2, "Failed to increase rank %d with query %s", rank, sql.c_str());
        }
    }
    for (const SrtpMethod& method : SrtpMethods) {
        if (all || &method != SrtpMethods) {
            addAesRow(service, method.name, method.first, method.rank);
        }
    }
}

// Passwords among the settings -------------------------------------------------------------------

std::vector<std::string> DASMigrator::constructColumns(const std::string& schema,
                                                       const std::string& context,
                                                       const std::string& name,
                                                       const std::string& value) {
    return {DASUtils::escapeAndQuote(schema), DASUtils::escapeAndQuote(context),
            DASUtils::escapeAndQuote(name), DASUtils::escapeAndQuote(value)};
}

namespace {

const std::string contextStart = "<Context currentUser=\"";
const std::string contextEnd = "</Context>";

/// The user of the Context that is open at the end of @p text; empty when none is.
std::string openContext(const std::string& text) {
    const std::size_t start = text.rfind(contextStart);
    if (start == std::string::npos || text.find(contextEnd, start) != std::string::npos) {
        return {};
    }
    const std::size_t begin = start + contextStart.size();
    return text.substr(begin, text.find('"', begin) - begin);
}

}  // namespace

bool DASMigrator::getValueFromReply(std::string& reply, const std::string& item, std::string& value,
                                    std::string& context) {
    std::string startTag;
    std::string endTag;
    DASUtils::createXMLStartTag(item, startTag);
    DASUtils::createXMLEndTag(item, endTag);
    const std::size_t start = reply.find(startTag);
    const std::size_t begin = start + startTag.size();
    const std::size_t end =
        start != std::string::npos ? reply.find(endTag, begin) : std::string::npos;
    if (end == std::string::npos) {
        return false;
    }
    value = reply.substr(begin, end - begin);
    context = openContext(reply.substr(0, start));
    reply.erase(0, end + endTag.size());
    if (!context.empty()) {
        reply.insert(0, contextStart + context + "\">");  // it is open for what follows
    }
    return true;
}

namespace {

PairList keyOfSetting(const std::string& schema, const std::string& context,
                      const std::string& name) {
    return {{"Schema", DASUtils::escapeAndQuote(schema)},
            {UserContextTagName, DASUtils::escapeAndQuote(context)},
            {"Name", DASUtils::escapeAndQuote(name)}};
}

/// Stores a setting in encrypted form; the plain row goes when that stands.
void encryptSetting(DatabaseAdapter& adapter, const std::string& schema, const std::string& context,
                    const std::string& item, const std::string& value) {
    const std::string encryptedItem = item + encryptedSuffix;
    std::string encrypted;
    std::string present = "0";
    // A blank row, as older software makes it by default, must not wipe a password.
    if (value.empty()) {
        PairList key = keyOfSetting(schema, context, encryptedItem);
        if (adapter.countRows(GeneralConfigTableName, key, present) != 0) {
            return;
        }
    }
    if (encrypt(value, encrypted) &&
        (present != "0" ||
         insertSetting(adapter, schema, context, encryptedItem, encrypted) == 0)) {
        PairList plainRow = keyOfSetting(schema, context, item);
        (void)adapter.deleteRow(GeneralConfigTableName, plainRow);  // else at the next start
    }
}

}  // namespace

void DASMigrator::replaceExistingRowWithEncrypted(DatabaseAdapter* adapter,
                                                  const std::string& schema,
                                                  const std::string& reply,
                                                  const std::string& item) {
    std::string rest = reply;
    std::string value;
    std::string context;
    if (!getValueFromReply(rest, item, value, context)) {
        return;
    }
    // Markup in a value hides where it ends and whose it is: the table tells.
    const PairList conditions = {{"Schema", DASUtils::escapeAndQuote(schema)},
                                 {"Name", DASUtils::escapeAndQuote(item)}};
    PairList orderBy;
    Rows rows;
    (void)adapter->executeQuery(GeneralConfigTableName, {UserContextTagName, "Value"}, conditions,
                                orderBy, rows, "", "");  // a failure is in the log
    for (const auto& row : rows) {
        encryptSetting(*adapter, schema, row.at(0), item, row.at(1));
    }
}

void DASMigrator::migrateEncryptedData(DAOFactory* factory, DatabaseAdapter* adapter) {
    const std::string* schema = nullptr;
    std::string reply;
    for (const EncryptedSetting& setting : EncryptedSettings) {
        if (setting.schema != schema) {
            schema = setting.schema;
            reply = readAllFromSchema(factory, *schema);
        }
        replaceExistingRowWithEncrypted(adapter, *schema, reply, setting.item);
    }
}

// Passwords of keys ------------------------------------------------------------------------------

namespace {

/// Where a password stands in the rows of a table of keys.
struct PasswordColumns {
    std::vector<std::string> names;  ///< all columns of the table
    std::size_t plain;
    std::string encrypted;
};

bool findPlainColumn(PasswordColumns& columns, int position, const std::string& plainTag) {
    const auto expected = static_cast<std::size_t>(position);
    if (expected < columns.names.size() && columns.names[expected] == plainTag) {
        columns.plain = expected;
        return true;
    }
    const auto found = std::find(columns.names.begin(), columns.names.end(), plainTag);
    columns.plain = static_cast<std::size_t>(found - columns.names.begin());
    return found != columns.names.end();
}

void encryptRow(DatabaseAdapter& adapter, const std::string& table, const PasswordColumns& columns,
                const std::vector<std::string>& row) {
    DAS_LOG(5, "Encoding the password for line %s:%s", row.at(0).c_str(), row.at(1).c_str());
    std::string encrypted;
    PairList conditions = {{columns.names.at(0), DASUtils::escapeAndQuote(row.at(0))},
                           {columns.names.at(1), DASUtils::escapeAndQuote(row.at(1))}};
    bool stored = encrypt(row.at(columns.plain), encrypted);
    if (stored) {
        PairList newValues = {{columns.encrypted, DASUtils::escapeAndQuote(encrypted)},
                              {columns.names[columns.plain], EmptyDBString}};
        stored = adapter.update(table, conditions, newValues, true) == 0;
    }
    if (!stored) {
        DAS_LOG(2, "Cannot update encrypted password in the %s table!", table.c_str());
    }
}

bool addEncryptedColumn(DatabaseAdapter& adapter, const std::string& table,
                        const std::string& column) {
    DAS_LOG(5, "Migrating the table %s to the encrypted form.", table.c_str());
    DAS_LOG(5, "Adding the column %s to the table %s.", column.c_str(), table.c_str());
    if (adapter.addColumn(table, column, columnTypeText, true) == 0) {
        return true;
    }
    DAS_LOG(2, "The table %s cannot be migrated to the encrypted form!", table.c_str());
    return false;
}

}  // namespace

void DASMigrator::migrateToEncryptedPasswordsForKeySettings(DataAccessServiceIfc* service,
                                                            const std::string& table, int position,
                                                            const std::string& plainTag,
                                                            const std::string& encryptedTag) {
    DAS_LOG(5, "migrateToEncryptedPasswordsForKeySettings(das, %s, %d, %s, %s)", table.c_str(),
            position, plainTag.c_str(), encryptedTag.c_str());
    DatabaseAdapter& adapter = *service->getAdapter();
    PasswordColumns columns{{}, 0, encryptedTag};
    if (adapter.getColumnNames(table, columns.names) != 1 || columns.names.empty()) {
        DAS_LOG(5, "%s table does not exist -> not migrated to the encrypted form.", table.c_str());
        return;
    }
    if (!DASUtils::columnIsInColumnList(encryptedTag, columns.names) &&
        !addEncryptedColumn(adapter, table, encryptedTag)) {
        return;
    }
    Rows rows;
    if (!findPlainColumn(columns, position, plainTag) ||
        adapter.executeSQLQuery("SELECT * FROM " + table + " WHERE " + plainTag + " <> '';",
                                rows) != 0) {
        DAS_LOG(2, "Cannot read the content of the %s table.", table.c_str());
        return;
    }
    DAS_LOG(5, "Encoding the existing passwords in the table %s.", table.c_str());
    // One commit for all: a full table has hundreds of rows, and each would wait for the disk.
    TransactionGuard transaction(adapter);
    for (const auto& row : rows) {
        encryptRow(adapter, table, columns, row);
    }
    if (transaction.end() != 0) {
        DAS_LOG(2, "Cannot update encrypted password in the %s table!", table.c_str());
        return;
    }
    DAS_LOG(5, "%s table data migrated to the encrypted form.", table.c_str());
}

// Passwords of file downloads --------------------------------------------------------------------

namespace {

constexpr std::size_t FtpPasswordField = 7;

/// Inserts the lines of the migration file into the encrypted table, by the old table's columns.
bool loadEncrypted(DatabaseAdapter& adapter, const std::vector<std::string>& names) {
    CsvReader file(migrationFile);
    if (!file.isOpen()) {
        return false;
    }
    DAS_LOG(5, "Scanning file...");
    return file.forEachRow([&](std::vector<std::string>& fields) {
        std::string encrypted;
        if (fields.size() != names.size() || !encrypt(fields.at(FtpPasswordField), encrypted)) {
            return 1;
        }
        DAS_LOG(5, "migrateToEncryptedFTPPass encrypt  FtpPassword");
        fields[FtpPasswordField] = encrypted;
        PairList values;
        for (std::size_t i = 0; i < names.size(); ++i) {
            values.emplace_back(names[i], DASUtils::escapeAndQuote(fields[i]));
        }
        return adapter.insert(FileDownloadSettingsEncTableName, values, nullptr);
    }) == 0;
}

}  // namespace

void DASMigrator::migrateToEncryptedFTPPass(DataAccessServiceIfc* service) {
    DatabaseAdapter& adapter = *service->getAdapter();
    const std::string& oldTable = FileDownloadSettingsTableName;
    if (rowsOf(service, oldTable) == 0) {
        return;
    }
    if (rowsOf(service, FileDownloadSettingsEncTableName) > 0) {
        (void)adapter.dropTable(oldTable);  // a failure is in the log, the next start tries again
        return;
    }
    std::vector<std::string> names;
    if (adapter.getColumnNames(oldTable, names) != 1 ||
        !DASUtils::readAllItemsFromTableAndWriteToFile(&adapter, oldTable, migrationFile, {})) {
        return;
    }
    const bool moved = runWholeOrNot(adapter, [&] {
        if (adapter.dropTable(oldTable) != 0) {
            return false;
        }
        createTable(service, FileDownloadSettingsSchema);
        return loadEncrypted(adapter, names);
    });
    if (!moved) {
        DAS_LOG(2, "%s is left as it was", oldTable.c_str());
        return;
    }
    DASUtils::removeDataFile(migrationFile);
}

namespace {

// Fields of a line of the oldest table, by their places.
constexpr std::size_t LineKind = 0;
constexpr std::size_t LineServer = 1;
constexpr std::size_t LineUser = 4;
constexpr std::size_t LinePassword = 5;
constexpr std::size_t LinePath = 6;
constexpr std::size_t LineFile = 13;

const char* const oldestTable = "FTP_SETTINGS";
constexpr long RowsWithoutTheLast = 8;

bool isTakenOver(const std::vector<std::string>& line) {
    return line.at(LineKind) == "Default" || line.at(LineKind) == "SwPhone";
}

/// A line of the oldest table as a row of file downloads.
std::vector<std::string> asDownloadRow(const std::vector<std::string>& line,
                                       const std::string& encryptedPassword) {
    const bool isDefault = line.at(LineKind) == "Default";
    const bool usesDefaults = !isDefault && line.at(LineServer).empty();
    return {isDefault ? "0" : "1", usesDefaults ? "true" : "false",
            line.at(LineServer),   line.at(LineUser),
            encryptedPassword,     line.at(LinePath),
            line.at(LineFile)};
}

bool rewriteOldestTable(DatabaseAdapter& adapter) {
    std::vector<std::string> names;
    if (adapter.getColumnNames(oldestTable, names) != 1 ||
        !DASUtils::readAllItemsFromTableAndWriteToFile(&adapter, oldestTable, migrationFile, {})) {
        return false;
    }
    CsvReader in(migrationFile);
    CsvWriter out(migrationFile + ftpSuffix);
    if (!in.isOpen() || !out.isOpen()) {
        DAS_LOG(2, "error opening %s", migrationFile);
        return false;
    }
    DAS_LOG(5, "Opening %s", migrationFile);
    DAS_LOG(5, "Scanning file...");
    const std::size_t failures = in.forEachRow([&](std::vector<std::string>& fields) {
        std::string encrypted;
        if (fields.size() != names.size()) {
            return 1;  // a value that the file can't carry: nothing is taken over in part
        }
        if (!isTakenOver(fields)) {
            return 0;
        }
        if (!encrypt(fields.at(LinePassword), encrypted)) {
            return 1;
        }
        out.writeRow(asDownloadRow(fields, encrypted));
        return 0;
    });
    DAS_LOG(5, "Scanning complete");
    return out.finish() && failures == 0;
}

}  // namespace

void DASMigrator::migrateFtpSettingsTable(DataAccessServiceIfc* service) {
    DatabaseAdapter& adapter = *service->getAdapter();
    const std::string& newTable = FileDownloadSettingsTableName;
    const long newRows = rowsOf(service, newTable);
    if (rowsOf(service, oldestTable) == 0) {
        DAS_LOG(5, "%s does not exist - not migrated", oldestTable);
    } else if (newRows == 0) {
        DAS_LOG(5, "migrating %s table", oldestTable);
        if (rewriteOldestTable(adapter)) {
            createTableAndDefaultRows(service, FileDownloadSettingsSchema);
            const std::string file = migrationFile + ftpSuffix;
            if (DASUtils::updateItemsInTableWithValuesFromFile(
                    &adapter, FileDownloadSettingsEncTableName,
                    {"FileType", "UseDefaults", "ServerAddress", "FtpUsername", "FtpPassword",
                     "FtpPath", "Filename"},
                    file)) {
                DAS_LOG(5, "%s data migrated to %s", oldestTable, newTable.c_str());
                if (adapter.dropTable(oldestTable) == 0) {
                    DAS_LOG(5, "%s table dropped", oldestTable);
                }
                DASUtils::removeDataFile(migrationFile);
                DASUtils::removeDataFile(file);
            }
        }
    }
    if (newRows == RowsWithoutTheLast) {
        std::vector<std::string> row = {"'9'", "'false'", "'0'", EmptyDBString, "'21'"};
        row.insert(row.end(), 7, EmptyDBString);
        row.push_back("'0'");
        (void)adapter.insert(newTable, row, nullptr);  // a failure is in the log
    }
}
