// The service's core: start and end, and the routing of requests.

#include "service/DataAccessService.h"

#include <cerrno>
#include <chrono>
#include <cstdio>
#include <cstring>

#include "ClientUtils.h"
#include "Context.h"
#include "CriticalSection.h"
#include "DASListenerIfc.h"
#include "DASUtilsStrings.h"
#include "DasCrypt.h"
#include "Executable.h"
#include "LocalMgmtIfc.h"
#include "Log.h"
#include "OwnFiles.h"
#include "Storage.h"
#include "Tally.h"
#include "Work.h"
#include "dao/DASUtils.h"
#include "dao/GenConfigDeviceDataItems.h"
#include "dao/NULLDataAccessObject.h"
#include "database/AdapterGuards.h"
#include "database/ChangeScope.h"
#include "database/DatabaseAdapter.h"
#include "database/DbFactory.h"
#include "database/LoggedText.h"
#include "schemas/DAOFactory.h"
#include "service/ACMSTagMapper.h"
#include "service/MobilityMigrator.h"
#include "upgrade/DASMigrator.h"

namespace {

const char* const DeviceItemsFile = "/Aurel_Deploy/DasGenConfigDeviceDataItems.csv";
const char* const ManagementName = "LocalMgmtIfc";
const char* const DataDirectory = "/data";
constexpr unsigned DataDirectoryMode = 0770;

const char* const CurrentUserWord = "getCurrentUser";
const char* const DefaultKeyDataWord = "getDefaultKeyData";
const char* const SaveContactsWord = "saveContactsToCSV";
const char* const SaveContactsAnswer = "endOfSaveContactsToCSVRequest";
const char* const ReadTraceFlagWord = "getWhetherRequestContentShowableOnTheAurelTrace";
const char* const SetTraceFlagWord = "setWhetherRequestContentShowableOnTheAurelTrace";

/// The string in the first pair of double quotes after the first "Schema". No parser is used here:
/// the first occurrence of the word decides, wherever it is.
std::string cutOutSchema(const char* message) {
    const char* place = std::strstr(message, "Schema");
    place = place != nullptr ? std::strchr(place, '"') : nullptr;
    if (place == nullptr) {
        return {};
    }
    const char* begin = place + 1;
    const char* end = std::strchr(begin, '"');
    return end != nullptr ? std::string(begin, end) : std::string();
}

}  // namespace

DataAccessService::DataAccessService()
    : m_dbFactory(std::make_unique<DbFactory>()),
      m_currentUser("base"),
      m_directorySema(1, 1, false),
      m_requestSema(1, 1, false) {
    if (!Storage::setFolderMode(DataDirectory, DataDirectoryMode)) {
        DAS_LOG(2, "chmod() failed with error [%s]. \n", std::strerror(errno));
    }
}

DataAccessService::~DataAccessService() {
    if (m_daoFactory.load() != nullptr) {
        if (m_dbFactory != nullptr) {
            m_dbFactory->destroyDatabase();
        }
        m_daoFactories.clear();
    }
    setDbFactory(nullptr);
    m_mobilityMigratorInUse = nullptr;
}

void DataAccessService::setDbFactory(DbFactoryIfc* factory) {
    const std::lock_guard<std::recursive_mutex> turn(m_resetMutex);
    if (factory == m_dbFactory.get()) {
        return;
    }
    // The factory deletes the adapters that it made.
    m_dbAdapter = nullptr;
    m_daoFactory = nullptr;
    m_dbFactory.reset(factory);
}

void DataAccessService::registerContext(Context& context) {
    m_context = &context;
}

void DataAccessService::constructorActions() {
    const std::lock_guard<std::recursive_mutex> turn(m_resetMutex);
    if (m_dbFactory == nullptr) {
        DAS_LOG(2, "constructorActions: no database factory");
        return;
    }
    m_dbAdapter = dynamic_cast<DatabaseAdapter*>(m_dbFactory->createDatabase());
    m_upgradeCopy.watch(m_dbAdapter);
    (void)lookForOthers();  // from now on, commits of other processes are reported as changes
    m_daoFactories.push_back(std::make_unique<DAOFactory>(m_dbAdapter.load()));
    m_daoFactory = m_daoFactories.back().get();
}

void DataAccessService::init(Context& context) {
    m_context = &context;
    OwnFiles::claim(DasCrypt::keyPlace());
    m_upgradeCopy.begin();
    if (Work::isEnding()) {
        return;  // it may have waited for another process, so the database is not changed
    }
    constructorActions();
    registerContext(context);
    GenConfigDeviceDataItems::populateDeviceDataItemMapFromFile(DeviceItemsFile);
    migrateDatabase();
    if (Work::isEnding()) {
        return;
    }
    const bool isUserRead = settleCurrentUser();
    std::printf("DataAccessService::init setting m_currentUser = %s\n", currentUser().c_str());
    (void)std::fflush(stdout);
    initInternal(isUserRead);
    m_acmsTagMapper = std::make_unique<ACMSTagMapper>();
    m_mobilityMigrator = std::make_unique<MobilityMigrator>(this);
    m_mobilityMigratorInUse = m_mobilityMigrator.get();
    if (DatabaseAdapter* const adapter = m_dbAdapter) {
        // The upgrade has read all tables, and these pages are not needed again.
        adapter->releaseMemory();
    }
    m_initialised = true;
}

void DataAccessService::migrateDatabase() {
    const auto begin = std::chrono::steady_clock::now();
    const std::uint64_t failuresBefore = Tally::of(Tally::LoggedFailures);
    Tally::set(Tally::UpgradeChanges, 0);
    try {
        DASMigrator::checkAndMigrateDatabase(this);
    } catch (const std::exception& error) {
        // The start continues: the migrated parts can be served, and the next start tries the
        // others again.
        DAS_LOG(2, "The migration of the database ended early: %s", error.what());
    }
    if (!Work::isEnding()) {
        m_upgradeCopy.end();  // otherwise the next start would restore the copy
    }
    const auto time = std::chrono::steady_clock::now() - begin;
    Tally::set(Tally::UpgradeTime,
               static_cast<std::uint64_t>(
                   std::chrono::duration_cast<std::chrono::milliseconds>(time).count()));
    Tally::set(Tally::UpgradeFailures, Tally::of(Tally::LoggedFailures) - failuresBefore);
}

void DataAccessService::shutdown() {}

void DataAccessService::run() {}

DatabaseAdapter* DataAccessService::getAdapter() {
    return m_dbAdapter;
}

ACMSTagMapper* DataAccessService::getACMSTagMapper() {
    return m_acmsTagMapper.get();
}

DAOFactory* DataAccessService::getDAOFactory() {
    return m_daoFactory;
}

std::string DataAccessService::currentUser() const {
    std::lock_guard<std::mutex> lock(m_currentUserMutex);
    return m_currentUser;
}

bool DataAccessService::isValidProfile(const std::string& profile) const {
    return profile == DASUtilsStrings::UserContextBase ||
           profile == DASUtilsStrings::UserContextVisitor;
}

bool DataAccessService::setCurrentUser(const std::string& profile) {
    if (!isValidProfile(profile)) {
        DAS_LOG(2, "Invalid new profile '%s'", profile.c_str());
        return false;
    }
    DAS_LOG(5, "DAS: setting m_currentUser from '%s' to new profile = '%s'", currentUser().c_str(),
            profile.c_str());
    std::lock_guard<std::mutex> lock(m_currentUserMutex);
    const bool changed = profile != m_currentUser;
    m_currentUser = profile;
    // A second visitor in a row counts as a change, base after base does not: kept on purpose,
    // listeners must be called for a second visitor.
    return changed || profile == DASUtilsStrings::UserContextVisitor;
}

void DataAccessService::addListener(DASListenerIfc* listener) {
    std::lock_guard<std::mutex> lock(m_listenersMutex);
    m_listeners.push_back(listener);
}

void DataAccessService::addChangeListener(DASChangeListenerIfc* listener) {
    if (listener == nullptr) {
        return;
    }
    const std::lock_guard<std::recursive_mutex> turn(m_resetMutex);
    if (DatabaseAdapter* const adapter = m_dbAdapter) {
        const AdapterLock lock(*adapter);
        m_changes.add(listener);
        (void)adapter->lookForOthers(m_changes);
    } else {
        m_changes.add(listener);
    }
}

void DataAccessService::removeChangeListener(DASChangeListenerIfc* listener) {
    m_changes.remove(listener);
}

bool DataAccessService::lookForOthers() {
    DatabaseAdapter* const adapter = m_changes.isHeard() ? m_dbAdapter.load() : nullptr;
    return adapter == nullptr || adapter->lookForOthers(m_changes);
}

void DataAccessService::notifyListenersOfProfileChange() const {
    std::vector<DASListenerIfc*> listeners;
    {
        std::lock_guard<std::mutex> lock(m_listenersMutex);
        listeners = m_listeners;
    }
    for (DASListenerIfc* listener : listeners) {
        if (listener == nullptr) {
            DAS_LOG(2, "A listener without an object is not told of the profile");
        } else if (currentUser() == DASUtilsStrings::UserContextVisitor) {
            listener->profileChangedToVisitor();
        } else {
            listener->profileChangedToBase();
        }
    }
}

std::string DataAccessService::processRequest(const std::string& message) {
    return processRequest(message.data(), static_cast<int>(message.size()));
}

std::string DataAccessService::processRequest(const char* message, int length) {
    if (message == nullptr) {
        DAS_LOG(2, "processRequest: no message");
        return {};
    }
    CriticalSection section(m_requestSema);
    return answer(message, length);
}

std::string DataAccessService::answer(const std::string& message) {
    return answer(message.data(), static_cast<int>(message.size()));
}

std::string DataAccessService::answer(const char* message, int length) {
    const OneWait wait;
    (void)lookForOthers();
    std::string answer;
    return answerServiceWord(message, answer) ? answer : answerXml(message, length);
}

bool DataAccessService::answerServiceWord(const char* message, std::string& answer) {
    if (std::strcmp(message, CurrentUserWord) == 0) {
        answer = currentUser();
    } else if (std::strcmp(message, DefaultKeyDataWord) == 0) {
        DAOFactory* factory = m_daoFactory;
        if (factory == nullptr) {
            DAS_LOG(2, "%s: no DAO factory", DefaultKeyDataWord);
        } else {
            answer = factory->getDefaultFeatureKeyData();
        }
    } else if (std::strcmp(message, SaveContactsWord) == 0) {
        saveContactsToCSV();
        answer = SaveContactsAnswer;
    } else if (std::strcmp(message, ReadTraceFlagWord) == 0) {
        answer = answerTraceWord(false, message);
    } else if (std::strncmp(message, SetTraceFlagWord, std::strlen(SetTraceFlagWord)) == 0) {
        answer = answerTraceWord(true, message);
    } else {
        return false;
    }
    return true;
}

std::string DataAccessService::answerTraceWord(bool set, const char* message) {
    if (m_dbAdapter.load() == nullptr) {
        return "error, m_dbAdapter is not defined.";
    }
    if (!set) {
        return ClientUtils::itos(
            DatabaseAdapter::getWhetherRequestContentShowableOnTheAurelTrace() ? 1 : 0);
    }
    // The number is read from the whole message, including the word: kept on purpose, a client that
    // sends only the word has always switched the contents off.
    DatabaseAdapter::setWhetherRequestContentShowableOnTheAurelTrace(ClientUtils::stoi(message) !=
                                                                     0);
    return std::string(SetTraceFlagWord) + " is sent";
}

std::string DataAccessService::answerXml(const char* message, int length) {
    const std::string schema = cutOutSchema(message);
    std::unique_ptr<DataAccessObject> dao =
        m_initialised ? createDao(schema) : refuse(schema, message);
    if (dao == nullptr) {
        dao = std::make_unique<NULLDataAccessObject>(schema);
    }
    const ChangeScope scope(m_changes,
                            [&](DASChange& change) { dao->describeChange(schema, change); });
    dao->handleRequest(message, length);
    return dao->getResponseMsg();
}

std::unique_ptr<DataAccessObject> DataAccessService::refuse(const std::string& schema,
                                                            const char* message) {
    DAS_LOG(5, "DAS not yet initialised  - returning failure");
    // The host of a service may store what it prints, so this is cut to the size of a log entry.
    const std::string shown = LoggedText::request(message, LoggedText::FailureSize);
    DAS_LOG(5, "not processed message='%s'", shown.c_str());
    std::printf("DAS not yet initialised - returning failure\nnot processed message='%s'\n",
                shown.c_str());
    (void)std::fflush(stdout);
    return std::make_unique<NULLDataAccessObject>(schema);
}

std::unique_ptr<DataAccessObject> DataAccessService::createDao(const std::string& schema) {
    DAOFactory* factory = m_daoFactory;
    if (factory == nullptr) {
        DAS_LOG(2, "No DAO factory for schema '%s'", schema.c_str());
        return nullptr;
    }
    std::unique_ptr<DataAccessObject> dao(factory->createDAOInstance(schema));
    dao->setCurrentUser(currentUser());
    return dao;
}

bool DataAccessService::findACMS() {
    Context* context = m_context;
    Executable* found = context != nullptr ? context->findService(ManagementName) : nullptr;
    if (found == nullptr) {
        DAS_LOG(2, "No LocalMgmtIfc");
    } else {
        m_localMgmt = dynamic_cast<LocalMgmtIfc*>(found);
    }
    return m_localMgmt.load() != nullptr;
}
