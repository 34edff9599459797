// Single settings that are added, corrected or removed, and how steps look a setting up.

#include <unistd.h>

#include "DASUtilsStrings.h"
#include "DataAccessServiceIfc.h"
#include "HardwareVersion.h"
#include "Log.h"
#include "Storage.h"
#include "dao/DASUtils.h"
#include "database/AdapterGuards.h"
#include "database/DatabaseAdapter.h"
#include "settings/GeneralConfigurationDAO.h"
#include "upgrade/DASMigrator.h"
#include "upgrade/StepHelpers.h"
#include "upgrade/UpgradeCopy.h"

namespace {

using namespace DASUtilsStrings;
using namespace StepHelpers;

const char* const SchemaColumn = "Schema";
const char* const NameColumn = "Name";
const char* const ValueColumn = "Value";

/// Items that no release uses any more. Their rows are deleted in all schemas and contexts.
const char* const ObsoleteItems[] = {"'CallbackBusyAllowed'", "'CallbackRingAllowed'",
                                     "'CallbackCancelAllowed'"};

}  // namespace

void DASMigrator::applyUpdateValuesFile(DataAccessServiceIfc* service) {
    if (!Storage::exists(UpgradeCopy::UpdateValuesFile)) {
        return;
    }
    updateGeneralConfigTable(service, settingsColumns(), UpgradeCopy::UpdateValuesFile);
    if (UpgradeCopy::removeUsedFile() != 0) {
        DAS_LOG(2, "Error deleting file: %s", UpgradeCopy::UpdateValuesFile);
    }
}

void DASMigrator::deleteCallbackItems(DataAccessServiceIfc* service) {
    for (const char* item : ObsoleteItems) {
        if (isRowPresent(service, GeneralConfigTableName, NameColumn, item)) {
            PairList conditions = {{NameColumn, item}};
            (void)service->getAdapter()->deleteRow(GeneralConfigTableName, conditions);
        }
    }
}

void DASMigrator::checkTransportSettingsOrder(DataAccessServiceIfc* service) {
    if (!loggingOnAppUni("DataAccessService", 6)) {
        return;
    }
    Rows rows;
    (void)readSettings(service, {NameColumn},
                       {{SchemaColumn, DASUtils::escapeAndQuote(TransportSettingsSchema)}}, rows);
    for (const auto& row : rows) {
        DAS_LOG(6, "checkTransportSettingsOrder: %s", row.at(0).c_str());
    }
}

// Single items -----------------------------------------------------------------------------------

bool DASMigrator::checkDot1xSettings(DataAccessServiceIfc* service) {
    return maySettingBePresent(service, {{SchemaColumn, "'Dot1xSettings'"}});
}

void DASMigrator::migrateDot1xSettings(DataAccessServiceIfc* service) {
    if (checkDot1xSettings(service)) {
        return;
    }
    DAS_LOG(5, "Migrate Dot1xSettings in GENERAL_CONFIG");
    const auto insertBoth = [&] {
        for (const auto& [name, value] :
             {std::pair{"Dot1xAuthentication", "1"}, std::pair{"RadiusServerValidation", "true"}}) {
            if (insertSetting(*service->getAdapter(), Dot1xSettingsSchema, "", name, value) != 0) {
                DAS_LOG(2, "Failed to insert \"Dot1xSettings,%s,%s\"", name, value);
                return false;
            }
        }
        return true;
    };
    // A single one of them would look like both.
    (void)runWholeOrNot(*service->getAdapter(), insertBoth);
}

void DASMigrator::migrateWlanSettings(DataAccessServiceIfc* service) {
    if (!HardwareVersion::is_WiFiSupported() ||
        isGeneralConfigRowPresentByName(service, "WlanAuthenticationPolicy", UserContextBase)) {
        return;
    }
    DAS_LOG(5, "Migrate WLAN settings in GENERAL_CONFIG - insert default WlanAuthenticationPolicy");
    if (insertSetting(*service->getAdapter(), CertificatePolicySchema, UserContextBase,
                      "WlanAuthenticationPolicy", "1") != 0) {
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

/// Whether the byte at @p place continues a character of several bytes.
bool goesOn(const std::string& text, std::size_t place) {
    const auto byte = [&](std::size_t i) { return static_cast<unsigned char>(text[i]); };
    return place > 0 && (byte(place) & 0xC0U) == 0x80U && byte(place - 1) >= 0x80U;
}

/// The number up to the last character that can't be dialled. Earlier such characters stay in it:
/// kept on purpose, stored numbers were always cut so. If there is no such character, the whole
/// number. A character of several bytes is never cut.
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
    if (!isRowPresent(service, GeneralConfigTableName, NameColumn, "'EmergencyNumber'")) {
        return;
    }
    Rows rows;
    (void)readSettings(service, *columns, {{NameColumn, "'EmergencyNumber'"}}, rows);
    for (const auto& row : rows) {
        const std::string number = upToLastBadCharacter(row.at(ValueCell));
        if (number == row.at(ValueCell)) {
            continue;
        }
        PairList conditions =
            settingConditions(row.at(SchemaCell), row.at(ContextCell), row.at(NameCell));
        PairList newValues = {{ValueColumn, DASUtils::escapeAndQuote(number)}};
        (void)service->getAdapter()->update(GeneralConfigTableName, conditions, newValues, false);
    }
}

// Lookups ----------------------------------------------------------------------------------------

namespace {

PairList byName(const std::string& name, const std::string& context) {
    return {{NameColumn, DASUtils::escapeAndQuote(name)},
            {UserContextTagName, DASUtils::escapeAndQuote(context)}};
}

}  // namespace

bool DASMigrator::isGeneralConfigRowPresentByName(DataAccessServiceIfc* service,
                                                  const std::string& name,
                                                  const std::string& context) {
    return maySettingBePresent(service, byName(name, context));
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
