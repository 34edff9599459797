// What the service does for user mobility: the user at start, profiles, and the reset.

// This is not the name of the file: kept on purpose, people filter traces by it.
#define DAS_LOG_SOURCE "./src/DataAccessService_QFA"

#include "CriticalSection.h"
#include "DASUtilsStrings.h"
#include "LocalMgmtIfc.h"
#include "Log.h"
#include "dao/DASUtils.h"
#include "database/AdapterGuards.h"
#include "database/ChangeScope.h"
#include "schemas/DAOFactory.h"
#include "service/DataAccessService.h"
#include "service/MobilityMigrator.h"
#include "settings/GeneralConfigurationDAO.h"
#include "upgrade/DASMigrator.h"

namespace {

/// The change of a method that is not about a single schema.
ChangeScope::Describe changeOf(const char* method) {
    return [method](DASChange& change) { change = {{}, {}, method, {}}; };
}

}  // namespace

bool DataAccessService::settleCurrentUser() {
    bool isRead = false;
    const std::string stored = DASUtils::readMobilityCurrentUserValue(m_dbAdapter, &isRead);
    std::lock_guard<std::mutex> lock(m_currentUserMutex);
    if (!stored.empty()) {
        m_currentUser = stored;
    }
    return isRead;
}

void DataAccessService::initInternal(bool isUserRead) {
    bool isModeRead = false;
    m_basicMobility = DASUtils::isActiveMobilityModeIsBasic(m_dbAdapter, &isModeRead);
    if (m_basicMobility) {
        std::lock_guard<std::mutex> lock(m_currentUserMutex);
        m_currentUser = "base";
    }
    DAOFactory* factory = m_daoFactory;
    if (!isUserRead || !isModeRead) {
        // The user may be the visitor. So this start serves base, and the visitor's data stays for
        // the next start.
        DAS_LOG(2, "The current user could not be read: the visitor's data is kept");
    } else if (currentUser() == "base" && factory != nullptr) {
        // At every start, not only after a change: kept on purpose, no data of a visitor survives a
        // restart of the owner's telephone.
        factory->deleteQFAVisitorData();
    }
}

bool DataAccessService::prepareProfile(const std::string& profile) {
    DAOFactory* factory = m_daoFactory;
    if (!isValidProfile(profile)) {
        DAS_LOG(2, "Invalid m_current user %s", currentUser().c_str());
    } else if (factory == nullptr) {
        DAS_LOG(2, "setProfile: no DAO factory");
    } else if (profile == DASUtilsStrings::UserContextVisitor) {
        return factory->copyQFABaseDataToVisitor();
    } else {
        factory->deleteVisitorUserPassword();
    }
    return true;
}

bool DataAccessService::setProfile(std::string profile) {
    DAS_LOG(5, "DataAccessService::setProfile");
    CriticalSection section(m_requestSema);
    const OneWait wait;
    ChangeScope scope(m_changes, changeOf("setProfile"));
    if (m_initialised) {
        if (!prepareProfile(profile)) {
            return false;  // a visitor must not see data of an earlier visitor
        }
    } else {
        // A request that ran during a reset may have cached counts of rows that no longer exist.
        GeneralConfigurationDAO::clearStaticCaches();
    }
    const bool valid = isValidProfile(profile);
    const bool changed = setCurrentUser(profile);
    m_initialised = true;
    if (changed) {
        scope.markChanged();  // requests without a context now use another user
        notifyListenersOfProfileChange();
    }
    return valid;
}

bool DataAccessService::invokeACMSFactoryReset(bool enableCreateDb) {
    DAS_LOG(5, "DataAccessService::invokeACMSFactoryReset() QFA");
    const std::lock_guard<std::recursive_mutex> turn(m_resetMutex);
    if (!findACMS()) {
        return false;
    }
    ChangeScope scope(m_changes, changeOf("invokeACMSFactoryReset"));
    if (!enableCreateDb) {
        m_upgradeCopy.prepareForReset();  // the management service may remove the file itself
        m_localMgmt.load()->factoryReset("", 0);
        (void)factoryReset();
        return false;
    }
    (void)factoryReset();
    constructorActions();
    DASMigrator::createTableAndDefaultRows(this, "UnitTestGenConfigTable");
    scope.report();  // must come before requests are answered again
    m_initialised = true;
    return true;
}

bool DataAccessService::exportUserData(std::map<std::string, std::string>& values, bool base) {
    MobilityMigrator* migrator = m_initialised ? m_mobilityMigratorInUse.load() : nullptr;
    if (migrator == nullptr) {
        return false;
    }
    DAS_LOG(5, "%s", base ? "export new managed base data" : "export new managed visitor data");
    const OneWait wait;
    return migrator->exportUserData(values, base);
}

bool DataAccessService::importUserData(std::map<std::string, std::string>& values, bool base) {
    MobilityMigrator* migrator = m_initialised ? m_mobilityMigratorInUse.load() : nullptr;
    if (migrator == nullptr) {
        return false;
    }
    DAS_LOG(5, "%s", base ? "import new managed base data" : "import new managed visitor data");
    const OneWait wait;
    const ChangeScope scope(m_changes, changeOf("importUserData"));
    migrator->importUserData(values, base);
    return true;
}

bool DataAccessService::migrateUserData(std::map<std::string, std::string>& values) {
    MobilityMigrator* migrator = m_mobilityMigratorInUse;
    if (migrator == nullptr) {
        return false;
    }
    const OneWait wait;
    ChangeScope scope(m_changes, changeOf("migrateUserData"));
    scope.markChanged();  // the user changes
    migrator->migrateBaseToVisitor(values);
    return true;
}

void DataAccessService::onFactory(const char* method,
                                  const std::function<void(DAOFactory&)>& operation) {
    DAOFactory* factory = m_daoFactory;
    if (factory == nullptr) {
        DAS_LOG(2, "User data: no DAO factory");
        return;
    }
    const OneWait wait;
    const ChangeScope scope(m_changes, changeOf(method));
    operation(*factory);
}

void DataAccessService::clearMobileUserdata() {
    onFactory("clearMobileUserdata", &DAOFactory::deleteQFAVisitorData);
}

void DataAccessService::clearMobileUserDLSdata() {
    onFactory("clearMobileUserDLSdata", &DAOFactory::deleteQFAVisitorDLSdata);
}

void DataAccessService::copyBaseDataToVisitor() {
    onFactory("copyBaseDataToVisitor", [](DAOFactory& factory) {
        (void)factory.copyQFABaseDataToVisitor();  // a failure is in the log
        factory.deleteVisitorUserPassword();       // the copy of base data may contain it
    });
}

void DataAccessService::deleteVisitorUserPassword() {
    onFactory("deleteVisitorUserPassword", &DAOFactory::deleteVisitorUserPassword);
}

void DataAccessService::deleteUcCredentials() {
    onFactory("deleteUcCredentials", &DAOFactory::deleteUcCredentials);
}
