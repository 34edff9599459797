// Settings of older protocols, and passwords that older releases stored unencrypted.

#include <algorithm>
#include <cstdio>
#include <iterator>

#include "ClientUtils.h"
#include "DASUtilsStrings.h"
#include "DataAccessServiceIfc.h"
#include "Log.h"
#include "dao/DASUtils.h"
#include "database/AdapterGuards.h"
#include "database/DatabaseAdapter.h"
#include "upgrade/DASMigrator.h"
#include "upgrade/StepHelpers.h"

namespace {

using namespace DASUtilsStrings;
using StepHelpers::encrypt;
using StepHelpers::insertSetting;
using StepHelpers::settingConditions;

const std::string EncryptedSuffix = "Enc";

/// A setting whose value is stored encrypted, under the same name with "Enc" after it.
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

bool DASMigrator::addAesRow(DataAccessServiceIfc* service, const std::string& method,
                            const std::string& first, const std::string& rank) {
    std::vector<std::string> row = {first, rank, "'true'"};
    if (service->getAdapter()->insert(SrtpEncryptionSettingsTableName, row, nullptr) != 0) {
        DAS_LOG(2, "Failed to insert %s to SRTP encryption table", method.c_str());
        return false;
    }
    return true;
}

namespace {

/// The methods among the last @p count of the list that the table lacks.
std::vector<SrtpMethod> missingMethods(DatabaseAdapter& adapter, std::size_t count) {
    std::vector<SrtpMethod> missing;
    std::copy_if(std::end(SrtpMethods) - count, std::end(SrtpMethods), std::back_inserter(missing),
                 [&](const SrtpMethod& method) {
                     return DASUtils::countOf(adapter, SrtpEncryptionSettingsTableName,
                                              {{"Method", method.first}}) == "0";
                 });
    return missing;
}

bool moveRank(DatabaseAdapter& adapter, int rank, int places) {
    const std::string sql = "UPDATE " + SrtpEncryptionSettingsTableName + " SET Rank= '" +
                            ClientUtils::itos(rank + places) + "' WHERE Rank = '" +
                            ClientUtils::itos(rank) + "'";
    if (adapter.executeNonQuery(sql) != 0) {
        DAS_LOG(2, "Failed to increase rank %d with query %s", rank, sql.c_str());
        return false;
    }
    DAS_LOG(5, "Increased rank %d with query %s", rank, sql.c_str());
    return true;
}

}  // namespace

void DASMigrator::addMissingAesToSrtpEncryptionTable(DataAccessServiceIfc* service, int rowCount) {
    const int rowsToInsert = AllSrtpRows - rowCount;
    if (rowCount != 2 && rowCount != 3) {
        DAS_LOG(3, "Not adding AES methods to DB: nRowsToInsert=%d", rowsToInsert);
        return;
    }
    const bool all = rowCount == 2;
    DatabaseAdapter& adapter = *service->getAdapter();
    const std::vector<SrtpMethod> missing = missingMethods(adapter, all ? 3 : 2);
    if (missing.empty()) {
        DAS_LOG(3, "Not adding AES methods to DB: nRowsToInsert=%d", 0);
        return;
    }
    const int startRank = all ? 1 : 2;
    if (all) {
        DAS_LOG(5, "Adding AES-256 and AES-GCM encryption methods starting at rank %d", startRank);
    } else {
        DAS_LOG(5, "Adding AES-GCM encryption methods starting at rank %d", startRank);
    }
    // If only half of it were stored, the next start would move the ranks once more.
    const bool isWhole = runWholeOrNot(adapter, [&] {
        bool stored = true;
        for (int rank = rowCount; stored && rank >= startRank; --rank) {
            stored = moveRank(adapter, rank, rowsToInsert);
        }
        return stored && std::all_of(missing.begin(), missing.end(), [&](const SrtpMethod& method) {
                   return addAesRow(service, method.name, method.first, method.rank);
               });
    });
    if (!isWhole) {
        DAS_LOG(2, "The table %s keeps its methods", SrtpEncryptionSettingsTableName.c_str());
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

const std::string ContextStart = "<Context currentUser=\"";
const std::string ContextEnd = "</Context>";

/// The user of the Context that is open at the end of @p text; empty outside of a Context.
std::string openContext(const std::string& text) {
    const std::size_t start = text.rfind(ContextStart);
    if (start == std::string::npos || text.find(ContextEnd, start) != std::string::npos) {
        return {};
    }
    const std::size_t begin = start + ContextStart.size();
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
        // The Context is still open for the items that follow.
        reply.insert(0, ContextStart + context + "\">");
    }
    return true;
}

namespace {

/// Stores a setting in encrypted form. The unencrypted row is deleted once that has succeeded.
void encryptSetting(DatabaseAdapter& adapter, const std::string& schema, const std::string& context,
                    const std::string& item, const std::string& value) {
    const std::string encryptedItem = item + EncryptedSuffix;
    std::string encrypted;
    // Older software creates blank rows by default; such a row must not replace a password.
    const std::string present =
        value.empty() ? DASUtils::countOf(adapter, GeneralConfigTableName,
                                          settingConditions(schema, context, encryptedItem))
                      : "0";
    if (!present.empty() && encrypt(value, encrypted) &&
        (present != "0" ||
         insertSetting(adapter, schema, context, encryptedItem, encrypted) == 0)) {
        PairList plainRow = settingConditions(schema, context, item);
        // Otherwise the next start tries again.
        (void)adapter.deleteRow(GeneralConfigTableName, plainRow);
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
    // Markup inside a value can hide where the value ends and whom it belongs to. The table shows
    // both clearly.
    const PairList conditions = {{"Schema", DASUtils::escapeAndQuote(schema)},
                                 {"Name", DASUtils::escapeAndQuote(item)}};
    Rows rows;
    (void)DASUtils::readRows(*adapter, GeneralConfigTableName, {UserContextTagName, "Value"},
                             conditions, rows);  // a failure is in the log
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

/// Rows are addressed by rowid: their key may be NULL or may not be unique.
void encryptRow(DatabaseAdapter& adapter, const std::string& table, const PasswordColumns& columns,
                const std::vector<std::string>& row) {
    DAS_LOG(5, "Encoding the password for line %s:%s", row.at(1).c_str(), row.at(2).c_str());
    std::string encrypted;
    PairList conditions = {{"rowid", row.at(0)}};
    bool stored = encrypt(row.at(columns.plain + 1), encrypted);
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
        adapter.executeSQLQuery("SELECT rowid, * FROM " + table + " WHERE " + plainTag + " <> '';",
                                rows) != 0) {
        DAS_LOG(2, "Cannot read the content of the %s table.", table.c_str());
        return;
    }
    DAS_LOG(5, "Encoding the existing passwords in the table %s.", table.c_str());
    // One commit for all rows: a full table has hundreds of rows, and each commit would wait for
    // the disk.
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
