// The reset of the telephone's data, and the gate to other software versions.

#include <cstdint>
#include <cstdio>

#include "Log.h"
#include "database/ChangeScope.h"
#include "database/DatabaseAdapter.h"
#include "service/DataAccessService.h"
#include "settings/GeneralConfigurationDAO.h"
#include "upgrade/DASMigrator.h"

namespace {

/// A kind of software, and its last versions that can't read the newer data.
struct GateRule {
    int softwareType;
    const char* withoutSpeedDial;
    const char* withoutDoorOpenerNames;
};

constexpr GateRule GateRules[] = {{1, "V1 R8.2.125", "V1 R8.7.111"},
                                  {2, "V1 R5.2.000", "V1 R5.6.157"}};

const GateRule* ruleFor(eSwType type) {
    for (const GateRule& rule : GateRules) {
        if (rule.softwareType == type) {
            return &rule;
        }
    }
    return nullptr;
}

/// One number for a version. Parts above 255 overflow into the next part: kept on purpose, the
/// literals above were made with the same rule.
std::uint32_t packedVersion(const std::string& text) {
    unsigned version = 0;
    unsigned release = 0;
    unsigned minor = 0;
    unsigned build = 0;
    DataAccessService::getVersionElements(&version, &release, &minor, &build, text);
    return std::uint32_t{version} << 24U | std::uint32_t{release} << 16U |
           std::uint32_t{minor} << 8U | build;
}

}  // namespace

bool DataAccessService::factoryReset() {
    const std::lock_guard<std::recursive_mutex> turn(m_resetMutex);
    DatabaseAdapter* adapter = m_dbAdapter;
    if (adapter == nullptr) {
        DAS_LOG(2, "factoryReset: no database adapter");
        return false;
    }
    ChangeScope scope(m_changes, [](DASChange& change) { change = {{}, {}, "factoryReset", {}}; });
    m_upgradeCopy.prepareForReset();
    scope.markChanged(*adapter);
    adapter->removeDbFile();
    GeneralConfigurationDAO::clearStaticCaches();
    m_initialised = false;
    return true;
}

void DataAccessService::getVersionElements(unsigned* version, unsigned* release, unsigned* minor,
                                           unsigned* build, std::string text) {
    constexpr int elements = 4;
    const int parsed = std::sscanf(text.c_str(), "V%u R%u.%u.%u", version, release, minor, build);
    if (parsed < 0) {
        DAS_LOG(2, "getVersionElements sscanf returned with error code[%d]", parsed);
    } else if (parsed != elements) {
        DAS_LOG(2, "getVersionElements sscanf did not parse expected number of arguments");
    }
}

bool DataAccessService::isNewVersionHigher(const std::string& first, const std::string& second,
                                           bool orEqual) {
    const std::uint32_t left = packedVersion(first);
    const std::uint32_t right = packedVersion(second);
    return orEqual ? left >= right : left > right;
}

void DataAccessService::checkDatabaseNeedsChange(eSwType currentType, eSwType newType,
                                                 const std::string& newVersion) {
    const ChangeScope scope(m_changes, [](DASChange& change) {
        change = {{}, {}, "checkDatabaseNeedsChange", {}};
    });
    // The first rule checks the running software, the second one the software to be installed: kept
    // on purpose.
    deleteSpeedDialFromPhonebook(currentType, newVersion);
    downgradeDoorOpenerSettings(newType, newVersion);
}

void DataAccessService::deleteSpeedDialFromPhonebook(eSwType type, const std::string& newVersion) {
    const GateRule* rule = ruleFor(type);
    if (rule == nullptr || isNewVersionHigher(newVersion, rule->withoutSpeedDial, false)) {
        return;
    }
    if (m_dbAdapter.load() == nullptr) {
        DAS_LOG(2, "DataAccessService::deleteSpeedDialFromPhonebook m_dbAdapter is null");
        return;
    }
    (void)DASMigrator::rebuildPhoneBook(this, {"SpeedDialID"});  // a failure is only logged
}

void DataAccessService::downgradeDoorOpenerSettings(eSwType type, const std::string& newVersion) {
    const GateRule* rule = ruleFor(type);
    if (rule != nullptr && !isNewVersionHigher(newVersion, rule->withoutDoorOpenerNames, false)) {
        DASMigrator::downgradeDoorOpenerSettings(this);
    }
}
