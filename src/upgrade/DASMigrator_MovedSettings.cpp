// Settings that moved between the device and its user, or got another name.

#include "ClientUtils.h"
#include "DASUtilsStrings.h"
#include "DataAccessServiceIfc.h"
#include "Log.h"
#include "database/DatabaseAdapter.h"
#include "settings/GeneralConfigurationDAO.h"
#include "upgrade/DASMigrator.h"
#include "upgrade/StepHelpers.h"

namespace {

using namespace DASUtilsStrings;
using namespace StepHelpers;

enum class Move { DeviceToUser, UserToDevice };

struct MovedItem {
    Move move;
    const char* schema;
    const char* oldName;
    const char* newName;
    bool deleteOld = false;  ///< only for Move::DeviceToUser; in the other direction the old row
                             ///< always stays
};

const MovedItem MovedItems[] = {
    {Move::DeviceToUser, "AcmsSettings", "WbmAllowed", "WbmAllowed", true},
    {Move::DeviceToUser, "SipBaseSettings", "SIPtransport", "SIPtransportUser"},
    {Move::DeviceToUser, "SipBaseSettings", "SIPoutboundProxy", "SIPoutboundProxyUser"},
    {Move::DeviceToUser, "SipBaseSettings", "SIPintermediateProxyAddress",
     "SIPintermediateProxyAddressUser"},
    {Move::DeviceToUser, "SipBaseSettings", "SIPintermediateProxyPort",
     "SIPintermediateProxyPortUser"},
    {Move::UserToDevice, "SipBaseSettings", "BackupSIPserverAddress", "BackupSIPServerAddress"},
    {Move::UserToDevice, "SipBaseSettings", "BackupSIPserverPort", "BackupSIPServerPort"},
    {Move::UserToDevice, "SipBaseSettings", "TransactionTimer", "TransactionTimer"},
    {Move::UserToDevice, "SipBaseSettings", "TransactionTimerF", "TransactionTimerF"},
    {Move::UserToDevice, "SipBaseSettings", "RegistrationBackoffTimer", "RegistrationBackoffTimer"},
    {Move::UserToDevice, "ClockSettings", "AutoDaylightSavingEnabled",
     "AutoDaylightSavingEnabledDevice"},
    {Move::UserToDevice, "ClockSettings", "DaylightSavingZoneID", "DaylightSavingZoneIDDevice"},
    {Move::UserToDevice, "DlsSettings", "DLSmodeSecure", "DLSmodeSecureDevice"},
    {Move::UserToDevice, "DlsSettings", "DLSsecurePort", "DLSsecurePortDevice"},
    {Move::UserToDevice, "DlsSettings", "DLScontactInterval", "DLScontactIntervalDevice"},
    {Move::UserToDevice, "DisplaySettings", "MwiLED", "MessageWaitLED"},
    {Move::UserToDevice, "SecuritySettings", "SLOGMaxLines", "SLOGMaxLinesDevice"},
    {Move::UserToDevice, "SecuritySettings", "SLOGArchiveToDLS", "SLOGArchiveToDLSDevice"},
    {Move::UserToDevice, "SecuritySettings", "SLOGDateLastArchived", "SLOGDateLastArchivedDevice"},
    {Move::UserToDevice, "SecuritySettings", "SLOGArchiveOnPerc", "SLOGArchiveOnPercDevice"},
    {Move::UserToDevice, "SecuritySettings", "SLOGFaultReportFlag", "SLOGFaultReportFlagDevice"},
    {Move::UserToDevice, "SecuritySettings", "SLOGFaultReportTime", "SLOGFaultReportTimeDevice"},
    {Move::UserToDevice, "SecuritySettings", "SLOGFaultOCSRConnectFlag",
     "SLOGFaultOCSRConnectFlagDevice"},
    {Move::UserToDevice, "SecuritySettings", "SLOGFaultOCSRConnectTime",
     "SLOGFaultOCSRConnectTimeDevice"},
    {Move::UserToDevice, "SecuritySettings", "SLOGFaultAdminPwdFlag",
     "SLOGFaultAdminPwdFlagDevice"},
    {Move::UserToDevice, "SecuritySettings", "SLOGFaultAdminPwdTime",
     "SLOGFaultAdminPwdTimeDevice"},
    {Move::UserToDevice, "SecuritySettings", "SLOGFaultUserPwdFlag", "SLOGFaultUserPwdFlagDevice"},
    {Move::UserToDevice, "SecuritySettings", "SLOGFaultUserPwdTime", "SLOGFaultUserPwdTimeDevice"},
};

/// Endings of the door opener items, after "DoorOpener" and a number from 1 to 4.
struct DoorOpenerName {
    const char* current;
    const char* before;
};

const DoorOpenerName DoorOpenerNames[] = {{"Phonenumber", "PhoneNumber"},
                                          {"Automaticvideo", "AutomaticVideo"},
                                          {"Directvideo", "DirectVideo"},
                                          {"Fpkconfirmation", "FPKConfirmation"}};
constexpr int DoorOpeners = 4;

}  // namespace

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
    if (readSettings(service, {"Value"}, oldRow, rows) != 0) {
        DAS_LOG(5, "dbMigrate() executeQuery error");
        return;
    }
    if (rows.empty()) {
        DAS_LOG(5, "dbMigrate() results for item[%s] are empty", oldItemName.c_str());
        return;
    }
    DAS_LOG(6, "dbMigrate() - old item[%s] found", oldItemName.c_str());
    PairList newRow = settingConditions(schema, newUserContext, newItemName);
    std::string count;
    if (service->getAdapter()->countRows(GeneralConfigTableName, newRow, count) != 0) {
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
        arrived = insertSetting(*service->getAdapter(), schema, newUserContext, newItemName,
                                rows.at(0).at(0)) == 0;
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
    if (readSettings(service, {"Value"}, settingConditions(schema, UserContextBase, oldItemName),
                     rows) != 0) {
        DAS_LOG(2, "dbMigrateUserToDevice - executeQuery error");
        return;
    }
    if (rows.empty()) {
        DAS_LOG(6, "dbMigrateUserToDevice - results empty");
        return;
    }
    if (maySettingBePresent(service, settingConditions(schema, "", newItemName))) {
        DAS_LOG(6, "dbMigrateUserToDevice already have new Item: %s", newItemName.c_str());
        return;
    }
    (void)insertSetting(*service->getAdapter(), schema, "", newItemName, rows.at(0).at(0));
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
