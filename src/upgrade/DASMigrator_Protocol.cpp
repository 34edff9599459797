// The change of protocol: the database is made anew, and what names the telephone is kept.

#include <array>
#include <cstring>

#include "DASUtilsStrings.h"
#include "DataAccessServiceIfc.h"
#include "DeviceFile.h"
#include "dao/DASUtils.h"
#include "database/DatabaseAdapter.h"
#include "database/Logging.h"
#include "upgrade/DASMigrator.h"

namespace {

constexpr const char* LogComponent = "DataAccessService";
constexpr const char* LogSource = "./src/DASMigrator";

using namespace DASUtilsStrings;

const char* const previousVersionFile = "/.QuilldeskRootFileSystemImageVersion.prev.txt";
const char* const olderProtocol = "SIP";

/// A value that outlives the change, as an item of the transport settings.
struct SavedItem {
    const char* item;
    const char* present;  ///< read only when a row of this name is there
    const char* success;
    const char* error;
};

const SavedItem TransportItems[] = {
    {"DLSaddress", "'DLSaddress'", "Saved dlsIP from SIP DB = %s",
     "An error occured while reading DLS IP from SipBaseSettings"},
    {"DLSport", "'DLSport'", "Saved dlsPort from SIP DB = %s",
     "An error occured while reading DLS port from SipBaseSettings"},
    {"DHCPenabled", "'DHCPenabled'", "Saved DHCP setting from SIP DB = '%s'",
     "An error occured while reading DHCP from TransportSettings in SIP database"},
    {"PhoneIPaddress", "'DHCPenabled'", "Saved IP adress setting from SIP DB = %s",
     "An error occured while reading IP adress from TransportSettings in SIP database"},
    {"DefaultMask", "'DHCPenabled'", "Saved DefaultMask setting from SIP DB = %s",
     "An error occured while reading DefaultMask from TransportSettings in SIP database"},
    {"DefaultRoute", "'DHCPenabled'", "Saved DefaultRoute setting from SIP DB = %s",
     "An error occured while reading DefaultRoute from TransportSettings in SIP database"},
};
constexpr std::size_t DhcpFlag = 2;  ///< place above; the items behind it need it

const SavedItem TerminalNumber = {"TerminalNumber", nullptr, "Saved E164 from SIP DB = %s",
                                  "An error occured while reading E164 from SipBaseSettings"};

/// The file is the image's: whatever it holds, no more than a line of a sane length is read.
bool olderSoftwareRan() {
    std::array<char, 4096> line{};
    DeviceFile file(previousVersionFile);
    file.getline(line.data(), line.size());  // leaves blank text when it can't be read
    return std::strstr(line.data(), olderProtocol) != nullptr;
}

bool hasSetting(DataAccessServiceIfc* service, const char* column, const char* value) {
    return DASMigrator::isRowPresent(service, GeneralConfigTableName, column, value);
}

bool transitionApplies(DataAccessServiceIfc* service) {
    return !hasSetting(service, "Schema", "'QfaBaseSettings'") &&
           hasSetting(service, "Schema", "'SipBaseSettings'") &&
           hasSetting(service, "Name", "'TerminalNumber'");
}

/// A read without a row raises std::out_of_range: kept on purpose, a database of that kind must not
/// be reset.
std::string save(DataAccessServiceIfc* service, const std::string& schema, const SavedItem& item) {
    Rows rows;
    PairList orderBy;
    const PairList conditions = {{"Schema", DASUtils::convertToDBFormat(schema)},
                                 {"Name", DASUtils::convertToDBFormat(item.item)}};
    if (service->getAdapter()->executeQuery(GeneralConfigTableName, {" Value "}, conditions,
                                            orderBy, rows, "", "") != 0) {
        DAS_LOG(2, "%s", item.error);
        return {};
    }
    const std::string value = rows.at(0).at(0);
    DAS_LOG(5, item.success, value.c_str());
    return value;
}

std::vector<std::string> saveTransportItems(DataAccessServiceIfc* service) {
    std::vector<std::string> values;
    for (const SavedItem& item : TransportItems) {
        values.push_back(hasSetting(service, "Name", item.present)
                             ? save(service, TransportSettingsSchema, item)
                             : std::string());
    }
    return values;
}

int store(DataAccessServiceIfc* service, const std::string& schema, const char* item,
          const std::string& value) {
    std::vector<std::string> row = {DASUtils::convertToDBFormat(schema), EmptyDBString,
                                    DASUtils::convertToDBFormat(item),
                                    DASUtils::escapeAndQuote(value)};
    return service->getAdapter()->insert(GeneralConfigTableName, row, nullptr);
}

int storeTransportItems(DataAccessServiceIfc* service, const std::vector<std::string>& values) {
    int sum = 0;
    for (std::size_t i = 0; i < values.size(); ++i) {
        const bool needsDhcpFlag = i > DhcpFlag;
        if (!values[i].empty() && !(needsDhcpFlag && values[DhcpFlag].empty())) {
            sum += store(service, TransportSettingsSchema, TransportItems[i].item, values[i]);
        }
    }
    return sum;
}

void changeProtocol(DataAccessServiceIfc* service) {
    DAS_LOG(5,
            "DASMigrator::checkAndMigrateDatabase - SIP to QFA migration detected, perform Factory "
            "reset, recreate DB and store e164 in new DB");
    const std::string number = save(service, SipBaseSettingsSchema, TerminalNumber);
    const std::vector<std::string> transport = saveTransportItems(service);
    (void)service->invokeACMSFactoryReset(false);
    service->constructorActions();
    DASMigrator::createTableAndDefaultRows(service, UnitTestGenConfigTableSchema);
    int sum = store(service, QfaBaseSettingsSchema, TerminalNumber.item, number);
    sum += storeTransportItems(service, transport);
    if (sum == 0) {
        DAS_LOG(5, "DB items from SIP has migrated successfully. E164 = %s", number.c_str());
    } else {
        DAS_LOG(2, "An error occured while inserting DB items after migration from SIP to QFA");
    }
    DAS_LOG(5, "SIP->QFA DB transition finished, continue migration\n");
}

}  // namespace

void DASMigrator::checkAndMigrateQFADatabase(DataAccessServiceIfc* service) {
    if (!olderSoftwareRan()) {
        return;
    }
    if (transitionApplies(service)) {
        changeProtocol(service);
    }
    if (DASUtils::readMobilityCurrentUserValue(service->getAdapter()).empty()) {
        (void)DASUtils::insertMobilityCurrentUserValue(service->getAdapter(), UserContextBase);
    }
}
