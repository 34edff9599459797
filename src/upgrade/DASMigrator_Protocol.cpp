// The change of protocol: the database is reset, and the values that identify the telephone are
// kept.

#include "DASUtilsStrings.h"
#include "DataAccessServiceIfc.h"
#include "Log.h"
#include "dao/DASUtils.h"
#include "database/DatabaseAdapter.h"
#include "upgrade/DASMigrator.h"
#include "upgrade/StepHelpers.h"

namespace {

using namespace DASUtilsStrings;

/// A value that is kept over the change. It is read from the older settings if they have it.
struct SavedItem {
    const char* item;
    bool needsDhcpFlag;  ///< read and stored only together with the DHCP flag
    const char* success;
    const char* error;
};

const SavedItem TransportItems[] = {
    {"DLSaddress", false, "Saved dlsIP from SIP DB = %s",
     "An error occured while reading DLS IP from SipBaseSettings"},
    {"DLSport", false, "Saved dlsPort from SIP DB = %s",
     "An error occured while reading DLS port from SipBaseSettings"},
    {"DHCPenabled", false, "Saved DHCP setting from SIP DB = '%s'",
     "An error occured while reading DHCP from TransportSettings in SIP database"},
    {"PhoneIPaddress", true, "Saved IP adress setting from SIP DB = %s",
     "An error occured while reading IP adress from TransportSettings in SIP database"},
    {"DefaultMask", true, "Saved DefaultMask setting from SIP DB = %s",
     "An error occured while reading DefaultMask from TransportSettings in SIP database"},
    {"DefaultRoute", true, "Saved DefaultRoute setting from SIP DB = %s",
     "An error occured while reading DefaultRoute from TransportSettings in SIP database"},
};
constexpr std::size_t DhcpFlag = 2;  ///< place in the list above

const SavedItem TerminalNumber = {"TerminalNumber", false, "Saved E164 from SIP DB = %s",
                                  "An error occured while reading E164 from SipBaseSettings"};

bool hasSetting(DataAccessServiceIfc* service, const char* column, const std::string& value) {
    return DASMigrator::isRowPresent(service, GeneralConfigTableName, column,
                                     DASUtils::convertToDBFormat(value));
}

bool transitionApplies(DataAccessServiceIfc* service) {
    return !hasSetting(service, "Schema", "QfaBaseSettings") &&
           hasSetting(service, "Schema", "SipBaseSettings") &&
           hasSetting(service, "Name", TerminalNumber.item);
}

enum class WithoutRow { IsBlank, Throws };

/// The value of an item; blank, with a log line, if it can't be read.
std::string save(DataAccessServiceIfc* service, const std::string& schema, const SavedItem& item,
                 WithoutRow withoutRow) {
    Rows rows;
    const PairList conditions = {{"Schema", DASUtils::convertToDBFormat(schema)},
                                 {"Name", DASUtils::convertToDBFormat(item.item)}};
    if (StepHelpers::readSettings(service, {" Value "}, conditions, rows) != 0) {
        DAS_LOG(2, "%s", item.error);
        return {};
    }
    if (rows.empty() && withoutRow == WithoutRow::IsBlank) {
        return {};
    }
    const std::string value = rows.at(0).at(0);
    DAS_LOG(5, item.success, value.c_str());
    return value;
}

std::vector<std::string> saveTransportItems(DataAccessServiceIfc* service) {
    const bool hasDhcpFlag = hasSetting(service, "Name", TransportItems[DhcpFlag].item);
    std::vector<std::string> values;
    for (const SavedItem& item : TransportItems) {
        const bool isRead =
            hasSetting(service, "Name", item.item) && (hasDhcpFlag || !item.needsDhcpFlag);
        values.push_back(isRead ? save(service, TransportSettingsSchema, item, WithoutRow::IsBlank)
                                : std::string());
    }
    return values;
}

int storeTransportItems(DatabaseAdapter& adapter, const std::vector<std::string>& values) {
    int sum = 0;
    for (std::size_t i = 0; i < values.size(); ++i) {
        const SavedItem& item = TransportItems[i];
        if (!values[i].empty() && !(item.needsDhcpFlag && values[DhcpFlag].empty())) {
            sum += StepHelpers::insertSetting(adapter, TransportSettingsSchema, "", item.item,
                                              values[i]);
        }
    }
    return sum;
}

void changeProtocol(DataAccessServiceIfc* service) {
    DAS_LOG(5,
            "DASMigrator::checkAndMigrateDatabase - SIP to QFA migration detected, perform Factory "
            "reset, recreate DB and store e164 in new DB");
    // Throws std::out_of_range if the number belongs to another schema: kept on purpose, a database
    // of that kind must not be reset.
    const std::string number =
        save(service, SipBaseSettingsSchema, TerminalNumber, WithoutRow::Throws);
    const std::vector<std::string> transport = saveTransportItems(service);
    (void)service->invokeACMSFactoryReset(false);
    service->constructorActions();
    DASMigrator::createTableAndDefaultRows(service, UnitTestGenConfigTableSchema);
    DatabaseAdapter& adapter = *service->getAdapter();  // the adapter after the reset
    const int sum = StepHelpers::insertSetting(adapter, QfaBaseSettingsSchema, "",
                                               TerminalNumber.item, number) +
                    storeTransportItems(adapter, transport);
    if (sum == 0) {
        DAS_LOG(5, "DB items from SIP has migrated successfully. E164 = %s", number.c_str());
    } else {
        DAS_LOG(2, "An error occured while inserting DB items after migration from SIP to QFA");
    }
    DAS_LOG(5, "SIP->QFA DB transition finished, continue migration\n");
}

}  // namespace

void DASMigrator::checkAndMigrateQFADatabase(DataAccessServiceIfc* service) {
    if (!StepHelpers::olderProtocolRan()) {
        return;
    }
    if (transitionApplies(service)) {
        changeProtocol(service);
    }
    bool isRead = false;
    const std::string user = DASUtils::readMobilityCurrentUserValue(service->getAdapter(), &isRead);
    // Only if there is no row: after a failed read, this would replace the row of a visitor.
    if (isRead && user.empty()) {
        (void)DASUtils::insertMobilityCurrentUserValue(service->getAdapter(), UserContextBase);
    }
}
