// Settings through the releases: items that move, names that change, a key that is added.

#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>

#include "ClientUtils.h"
#include "DASUtilsStrings.h"
#include "DataAccessServiceIfc.h"
#include "HardwareVersion.h"
#include "Storage.h"
#include "dao/DASUtils.h"
#include "dao/GenConfigDeviceDataItems.h"
#include "database/AdapterGuards.h"
#include "database/DatabaseAdapter.h"
#include "database/Logging.h"
#include "settings/GeneralConfigurationDAO.h"
#include "upgrade/DASMigrator.h"
#include "upgrade/UpgradeCopy.h"

namespace {

constexpr const char* LogComponent = "DataAccessService";
constexpr const char* LogSource = "./src/DASMigrator";

using namespace DASUtilsStrings;

const char* const schemaColumn = "Schema";
const char* const nameColumn = "Name";
const char* const valueColumn = "Value";
constexpr const char* updateValuesFile = UpgradeCopy::updateValuesFile;

const std::vector<std::string>& settingsColumns() {
    static const std::vector<std::string> columns = {schemaColumn, UserContextTagName, nameColumn,
                                                     valueColumn};
    return columns;
}

/// The four columns of a row of settings, by their places.
enum SettingCell : std::size_t { SchemaCell, ContextCell, NameCell, ValueCell };

// Items that moved -------------------------------------------------------------------------------

enum class Move { DeviceToUser, UserToDevice };

struct MovedItem {
    Move move;
    const char* schema;
    const char* oldName;
    const char* newName;
    bool deleteOld;  ///< for Move::DeviceToUser; the other way the old row always stays
};

const MovedItem MovedItems[] = {
    {Move::DeviceToUser, "AcmsSettings", "WbmAllowed", "WbmAllowed", true},
    {Move::DeviceToUser, "SipBaseSettings", "SIPtransport", "SIPtransportUser", false},
    {Move::DeviceToUser, "SipBaseSettings", "SIPoutboundProxy", "SIPoutboundProxyUser", false},
    {Move::DeviceToUser, "SipBaseSettings", "SIPintermediateProxyAddress",
     "SIPintermediateProxyAddressUser", false},
    {Move::DeviceToUser, "SipBaseSettings", "SIPintermediateProxyPort",
     "SIPintermediateProxyPortUser", false},
    {Move::UserToDevice, "SipBaseSettings", "BackupSIPserverAddress", "BackupSIPServerAddress",
     false},
    {Move::UserToDevice, "SipBaseSettings", "BackupSIPserverPort", "BackupSIPServerPort", false},
    {Move::UserToDevice, "SipBaseSettings", "TransactionTimer", "TransactionTimer", false},
    {Move::UserToDevice, "SipBaseSettings", "TransactionTimerF", "TransactionTimerF", false},
    {Move::UserToDevice, "SipBaseSettings", "RegistrationBackoffTimer", "RegistrationBackoffTimer",
     false},
    {Move::UserToDevice, "ClockSettings", "AutoDaylightSavingEnabled",
     "AutoDaylightSavingEnabledDevice", false},
    {Move::UserToDevice, "ClockSettings", "DaylightSavingZoneID", "DaylightSavingZoneIDDevice",
     false},
    {Move::UserToDevice, "DlsSettings", "DLSmodeSecure", "DLSmodeSecureDevice", false},
    {Move::UserToDevice, "DlsSettings", "DLSsecurePort", "DLSsecurePortDevice", false},
    {Move::UserToDevice, "DlsSettings", "DLScontactInterval", "DLScontactIntervalDevice", false},
    {Move::UserToDevice, "DisplaySettings", "MwiLED", "MessageWaitLED", false},
    {Move::UserToDevice, "SecuritySettings", "SLOGMaxLines", "SLOGMaxLinesDevice", false},
    {Move::UserToDevice, "SecuritySettings", "SLOGArchiveToDLS", "SLOGArchiveToDLSDevice", false},
    {Move::UserToDevice, "SecuritySettings", "SLOGDateLastArchived", "SLOGDateLastArchivedDevice",
     false},
    {Move::UserToDevice, "SecuritySettings", "SLOGArchiveOnPerc", "SLOGArchiveOnPercDevice", false},
    {Move::UserToDevice, "SecuritySettings", "SLOGFaultReportFlag", "SLOGFaultReportFlagDevice",
     false},
    {Move::UserToDevice, "SecuritySettings", "SLOGFaultReportTime", "SLOGFaultReportTimeDevice",
     false},
    {Move::UserToDevice, "SecuritySettings", "SLOGFaultOCSRConnectFlag",
     "SLOGFaultOCSRConnectFlagDevice", false},
    {Move::UserToDevice, "SecuritySettings", "SLOGFaultOCSRConnectTime",
     "SLOGFaultOCSRConnectTimeDevice", false},
    {Move::UserToDevice, "SecuritySettings", "SLOGFaultAdminPwdFlag", "SLOGFaultAdminPwdFlagDevice",
     false},
    {Move::UserToDevice, "SecuritySettings", "SLOGFaultAdminPwdTime", "SLOGFaultAdminPwdTimeDevice",
     false},
    {Move::UserToDevice, "SecuritySettings", "SLOGFaultUserPwdFlag", "SLOGFaultUserPwdFlagDevice",
     false},
    {Move::UserToDevice, "SecuritySettings", "SLOGFaultUserPwdTime", "SLOGFaultUserPwdTimeDevice",
     false},
};

/// Endings of the door opener items, behind "DoorOpener" and a number from 1 to 4.
struct DoorOpenerName {
    const char* current;
    const char* before;
};

const DoorOpenerName DoorOpenerNames[] = {{"Phonenumber", "PhoneNumber"},
                                          {"Automaticvideo", "AutomaticVideo"},
                                          {"Directvideo", "DirectVideo"},
                                          {"Fpkconfirmation", "FPKConfirmation"}};
constexpr int DoorOpeners = 4;

/// Items that no release uses any more; their rows go, in all schemas and contexts.
const char* const ObsoleteItems[] = {"'CallbackBusyAllowed'", "'CallbackRingAllowed'",
                                     "'CallbackCancelAllowed'"};

// Access to the table ----------------------------------------------------------------------------

PairList settingConditions(const std::string& schema, const std::string& context,
                           const std::string& name) {
    return {{schemaColumn, DASUtils::escapeAndQuote(schema)},
            {UserContextTagName, DASUtils::escapeAndQuote(context)},
            {nameColumn, DASUtils::escapeAndQuote(name)}};
}

int readSettings(DataAccessServiceIfc* service, const std::vector<std::string>& columns,
                 const PairList& conditions, Rows& rows) {
    PairList orderBy;
    return service->getAdapter()->executeQuery(GeneralConfigTableName, columns, conditions, orderBy,
                                               rows, "", "");
}

int countSettings(DataAccessServiceIfc* service, PairList conditions, std::string& count) {
    return service->getAdapter()->countRows(GeneralConfigTableName, conditions, count);
}

/// True also when nobody can tell: a default must not replace what may be there.
bool mayBePresent(DataAccessServiceIfc* service, const PairList& conditions) {
    std::string count;
    return countSettings(service, conditions, count) != 0 || count != "0";
}

/// Inserts a setting, plain texts. An adapter status.
int insertSetting(DataAccessServiceIfc* service, const std::string& schema,
                  const std::string& context, const std::string& name, const std::string& value) {
    std::vector<std::string> row = {
        DASUtils::escapeAndQuote(schema), DASUtils::escapeAndQuote(context),
        DASUtils::escapeAndQuote(name), DASUtils::escapeAndQuote(value)};
    return service->getAdapter()->insert(GeneralConfigTableName, row, nullptr);
}

const char* yesNo(bool value) {
    return value ? "true" : "false";
}

}  // namespace

// Moves ------------------------------------------------------------------------------------------

void DASMigrator::dbMigrate(DataAccessServiceIfc* service, const std::string& schema,
                            const std::string& oldItemName, const std::string& newItemName,
                            const std::string& oldUserContext, const std::string& newUserContext,
                            bool copyOverExisting, bool deleteOldRow) {
    DAS_LOG(6,
            "dbMigrate() - schemaName[%s], oldItemName[%s], newItemName[%s], oldUserContext[%s], "
            "newUserContext[%s], deleteOldRow[%s]",
            schema.c_str(), oldItemName.c_str(), newItemName.c_str(), oldUserContext.c_str(),
            newUserContext.c_str(), yesNo(deleteOldRow));
    const PairList oldRow = settingConditions(schema, oldUserContext, oldItemName);
    Rows rows;
    if (readSettings(service, {valueColumn}, oldRow, rows) != 0) {
        DAS_LOG(5, "dbMigrate() executeQuery error");
        return;
    }
    if (rows.empty()) {
        DAS_LOG(5, "dbMigrate() results for item[%s] are empty", oldItemName.c_str());
        return;
    }
    DAS_LOG(6, "dbMigrate() - old item[%s] found", oldItemName.c_str());
    std::string count;
    if (countSettings(service, settingConditions(schema, newUserContext, newItemName), count) !=
        0) {
        DAS_LOG(5, "dbMigrate() executeQuery error");
        return;
    }
    const bool isThere = count != "0";
    bool arrived = isThere;
    if (copyOverExisting || !isThere) {
        DAS_LOG(6,
                "dbMigrate() - newItem[%s]%sfound,%scopy value from oldItem{%s] if newItem found",
                newItemName.c_str(), isThere ? " " : " not ", copyOverExisting ? " " : " don't ",
                oldItemName.c_str());
        arrived =
            insertSetting(service, schema, newUserContext, newItemName, rows.at(0).at(0)) == 0;
    } else {
        DAS_LOG(5,
                "dbMigrate() already have newItemName[%s] and Value is not copying from "
                "oldItemName[%s]",
                newItemName.c_str(), oldItemName.c_str());
    }
    if (deleteOldRow && arrived) {
        DAS_LOG(5, "dbMigrate() deleting Device row (blank context) for old item: %s",
                oldItemName.c_str());
        PairList conditions = oldRow;
        (void)service->getAdapter()->deleteRow(GeneralConfigTableName, conditions);
    }
}

void DASMigrator::dbMigrateDeviceToUser(DataAccessServiceIfc* service, const std::string& schema,
                                        const std::string& oldItemName,
                                        const std::string& newItemName, bool deleteOldRow) {
    dbMigrate(service, schema, oldItemName, newItemName, "", UserContextBase, false, deleteOldRow);
}

void DASMigrator::dbMigrateUserToDevice(DataAccessServiceIfc* service, std::string schema,
                                        std::string oldItemName, std::string newItemName) {
    Rows rows;
    if (readSettings(service, {valueColumn},
                     settingConditions(schema, UserContextBase, oldItemName), rows) != 0) {
        DAS_LOG(2, "dbMigrateUserToDevice - executeQuery error");
        return;
    }
    if (rows.empty()) {
        DAS_LOG(6, "dbMigrateUserToDevice - results empty");
        return;
    }
    if (mayBePresent(service, settingConditions(schema, "", newItemName))) {
        DAS_LOG(6, "dbMigrateUserToDevice already have new Item: %s", newItemName.c_str());
        return;
    }
    (void)insertSetting(service, schema, "", newItemName, rows.at(0).at(0));
}

void DASMigrator::migrateMovedItems(DataAccessServiceIfc* service) {
    for (const MovedItem& item : MovedItems) {
        if (item.move == Move::DeviceToUser) {
            dbMigrateDeviceToUser(service, item.schema, item.oldName, item.newName, item.deleteOld);
        } else {
            dbMigrateUserToDevice(service, item.schema, item.oldName, item.newName);
        }
    }
}

void DASMigrator::dbMigrateDoorOpenerSettings(DataAccessServiceIfc* service, bool upgrade) {
    DAS_LOG(5, "dbMigrateDoorOpenerSettings() software %sgrade", upgrade ? "up" : "down");
    if (service == nullptr || service->getAdapter() == nullptr) {
        return;
    }
    for (const DoorOpenerName& name : DoorOpenerNames) {
        for (int number = 1; number <= DoorOpeners; ++number) {
            const std::string start = "DoorOpener" + ClientUtils::itos(number);
            const std::string from = start + (upgrade ? name.before : name.current);
            const std::string to = start + (upgrade ? name.current : name.before);
            dbMigrate(service, AcmsSettingsSchema, from, to, "", "", !upgrade, false);
        }
    }
}

void DASMigrator::downgradeDoorOpenerSettings(DataAccessServiceIfc* service) {
    DAS_LOG(6, "downgradeDoorOpenerSettings");
    dbMigrateDoorOpenerSettings(service, false);
    GeneralConfigurationDAO::clearStaticCaches();
}

void DASMigrator::applyUpdateValuesFile(DataAccessServiceIfc* service) {
    if (!Storage::exists(updateValuesFile)) {
        return;
    }
    updateGeneralConfigTable(service, settingsColumns(), updateValuesFile);
    if (UpgradeCopy::removeUsedFile() != 0) {
        DAS_LOG(2, "Error deleting file: %s", updateValuesFile);
    }
}

void DASMigrator::deleteCallbackItems(DataAccessServiceIfc* service) {
    for (const char* item : ObsoleteItems) {
        if (isRowPresent(service, GeneralConfigTableName, nameColumn, item)) {
            PairList conditions = {{nameColumn, item}};
            (void)service->getAdapter()->deleteRow(GeneralConfigTableName, conditions);
        }
    }
}

void DASMigrator::checkTransportSettingsOrder(DataAccessServiceIfc* service) {
    if (!loggingOnAppUni(LogComponent, 6)) {
        return;
    }
    Rows rows;
    (void)readSettings(service, {nameColumn},
                       {{schemaColumn, DASUtils::escapeAndQuote(TransportSettingsSchema)}}, rows);
    for (const auto& row : rows) {
        DAS_LOG(6, "checkTransportSettingsOrder: %s", row.at(0).c_str());
    }
}

// Device items -----------------------------------------------------------------------------------

namespace {

struct DeviceRowDecision {
    bool update;
    bool remove;
};

/// Rows come with a blank context before "base", so that the blank one stays.
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

/// The rows of one schema that hold device data, in the order in which they are decided on.
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
    return adapter.executeSQLQuery(sql + " ORDER BY Schema ASC, Name ASC, UserContext ASC;", rows);
}

void carryOut(DatabaseAdapter& adapter, const std::vector<std::string>& row,
              const DeviceRowDecision& decision) {
    if (!decision.update && !decision.remove) {
        DAS_LOG(6, "validateDeviceItems: no action");
        return;
    }
    PairList conditions =
        settingConditions(row.at(SchemaCell), row.at(ContextCell), row.at(NameCell));
    conditions.emplace_back(valueColumn, DASUtils::escapeAndQuote(row.at(ValueCell)));
    if (decision.update) {
        DAS_LOG(5, "validateDeviceItems: update row");
        PairList newValues = {{UserContextTagName, EmptyDBString}};
        (void)adapter.update(GeneralConfigTableName, conditions, newValues, false);
    } else {
        DAS_LOG(5, "validateDeviceItems: delete row");
        (void)adapter.deleteRow(GeneralConfigTableName, conditions);
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

// Single items -----------------------------------------------------------------------------------

bool DASMigrator::checkDot1xSettings(DataAccessServiceIfc* service) {
    return mayBePresent(service, {{schemaColumn, "'Dot1xSettings'"}});
}

void DASMigrator::migrateDot1xSettings(DataAccessServiceIfc* service) {
    if (checkDot1xSettings(service)) {
        return;
    }
    DAS_LOG(5, "Migrate Dot1xSettings in GENERAL_CONFIG");
    const auto insertBoth = [&] {
        for (const auto& [name, value] :
             {std::pair{"Dot1xAuthentication", "1"}, std::pair{"RadiusServerValidation", "true"}}) {
            if (insertSetting(service, Dot1xSettingsSchema, "", name, value) != 0) {
                DAS_LOG(2, "Failed to insert \"Dot1xSettings,%s,%s\"", name, value);
                return false;
            }
        }
        return true;
    };
    (void)runWholeOrNot(*service->getAdapter(), insertBoth);  // one alone would pass for both
}

void DASMigrator::migrateWlanSettings(DataAccessServiceIfc* service) {
    if (!HardwareVersion::is_WiFiSupported() ||
        isGeneralConfigRowPresentByName(service, "WlanAuthenticationPolicy", UserContextBase)) {
        return;
    }
    DAS_LOG(5, "Migrate WLAN settings in GENERAL_CONFIG - insert default WlanAuthenticationPolicy");
    if (insertSetting(service, CertificatePolicySchema, UserContextBase, "WlanAuthenticationPolicy",
                      "1") != 0) {
        DAS_LOG(2, "Failed to insert \"CertificatePolicy,WlanAuthenticationPolicy,1\"");
    }
}

void DASMigrator::migrateFeatureToCurrentUser(DataAccessServiceIfc* service, std::string name) {
    Rows rows;
    readGeneralConfigByName(service, "MobilityCurrentUser", "", rows);
    const std::string user = rows.empty() ? std::string() : rows.front().at(ValueCell);
    if (user.empty()) {
        return;
    }
    Rows none;
    (void)service->getAdapter()->executeSQLQuery(
        "UPDATE GENERAL_CONFIG SET UserContext = '" + DASUtils::escapeSqlReservedCharacters(user) +
            "' WHERE Name = '" + name + "' AND UserContext = ''",
        none);
}

namespace {

bool isDialled(char c) {
    return (c >= '0' && c <= '9') || c == '#' || c == '*' || c == '+';
}

/// Whether the byte at @p place goes on with a character that began before it.
bool goesOn(const std::string& text, std::size_t place) {
    const auto byte = [&](std::size_t i) { return static_cast<unsigned char>(text[i]); };
    return place > 0 && (byte(place) & 0xC0U) == 0x80U && byte(place - 1) >= 0x80U;
}

/// The number up to its last character that can't be dialled; earlier ones stay in it: kept on
/// purpose, each of them once ended what was stored. Whole if there is none. The cut never falls
/// into a character of several bytes.
std::string upToLastBadCharacter(const std::string& number) {
    for (std::size_t place = number.size(); place-- > 0;) {
        if (!isDialled(number[place]) && !goesOn(number, place)) {
            return number.substr(0, place);
        }
    }
    return number;
}

}  // namespace

void DASMigrator::migrateWrongEmergencyNumber(DataAccessServiceIfc* service,
                                              const std::vector<std::string>* columns) {
    if (!isRowPresent(service, GeneralConfigTableName, nameColumn, "'EmergencyNumber'")) {
        return;
    }
    Rows rows;
    (void)readSettings(service, *columns, {{nameColumn, "'EmergencyNumber'"}}, rows);
    for (const auto& row : rows) {
        const std::string number = upToLastBadCharacter(row.at(ValueCell));
        if (number == row.at(ValueCell)) {
            continue;
        }
        PairList conditions =
            settingConditions(row.at(SchemaCell), row.at(ContextCell), row.at(NameCell));
        PairList newValues = {{valueColumn, DASUtils::escapeAndQuote(number)}};
        (void)service->getAdapter()->update(GeneralConfigTableName, conditions, newValues, false);
    }
}

// Lookups ----------------------------------------------------------------------------------------

namespace {

PairList byName(const std::string& name, const std::string& context) {
    return {{nameColumn, DASUtils::escapeAndQuote(name)},
            {UserContextTagName, DASUtils::escapeAndQuote(context)}};
}

}  // namespace

bool DASMigrator::isGeneralConfigRowPresentByName(DataAccessServiceIfc* service,
                                                  const std::string& name,
                                                  const std::string& context) {
    return mayBePresent(service, byName(name, context));
}

void DASMigrator::readGeneralConfigByName(DataAccessServiceIfc* service, const std::string& name,
                                          const std::string& context, Rows& rows) {
    (void)readSettings(service, settingsColumns(), byName(name, context), rows);
}

bool DASMigrator::isGeneralConfigItemNonBlank(DataAccessServiceIfc* service,
                                              const std::string& name, const std::string& context) {
    Rows rows;
    readGeneralConfigByName(service, name, context, rows);
    return !rows.empty() && !rows.front().at(ValueCell).empty();
}

std::vector<std::string> DASMigrator::createGeneralConfigRow(const std::string& schema,
                                                             const std::string& context,
                                                             const std::string& name,
                                                             const std::string& value) {
    return {schema, context, name, value};
}
