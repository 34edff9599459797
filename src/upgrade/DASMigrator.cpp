// The driver: all steps in their order.

#include "upgrade/DASMigrator.h"

#include <iterator>

#include "DASUtilsStrings.h"
#include "DataAccessServiceIfc.h"
#include "Log.h"
#include "Progress.h"
#include "Work.h"
#include "dao/DASUtils.h"
#include "database/DatabaseAdapter.h"
#include "schemas/DAOFactory.h"
#include "settings/GeneralConfigurationDAO.h"
#include "upgrade/RowNumbers.h"
#include "upgrade/StepHelpers.h"
#include "upgrade/TableRebuild.h"
#include "upgrade/V1R1ToV1R2Migrator.h"

namespace {

using namespace DASUtilsStrings;
using StepHelpers::rowsOf;

/// What each step receives.
struct Run {
    DataAccessServiceIfc* service;
    const std::vector<std::string>& settingsColumns;
};

/// One step. A step without a test always runs, and checks for itself whether there is work. The
/// message is logged before the action, or instead of it.
struct Step {
    int number;
    const char* subject;  ///< shown to people who wait for the upgrade
    bool (*test)(const Run&);
    void (*action)(const Run&);
    const char* wordsWhenRun = nullptr;
    const char* wordsWhenNot = nullptr;
};

using M = DASMigrator;

int columnsOf(const Run& run, const char* statement) {
    return run.service->getAdapter()->getColumnCount(statement);
}

bool hasRow(const Run& run, const std::string& table, const std::string& id) {
    return M::isRowPresent(run.service, table, IdTagName, id);
}

// Tests ------------------------------------------------------------------------------------------

const char* const AllStimulusKeys = "SELECT * FROM STIMULUS_KEY_SETTINGS;";
const char* const AllContacts = "SELECT * FROM PHONE_BOOK;";

bool isBeforeMobility(const Run& run) {
    if (M::dbIsPreMobility(run.service)) {
        return true;
    }
    M::orderGeneralConfigColumns(run.service);
    return false;
}

bool lineKeysAreOld(const Run& run) {
    const TableForm form = M::formOf(run.service, LineKeySettingsSchema, LineKeySettingsTableName);
    return form.columns < 23 || !form.isInOrder();
}

bool bcaSettingsAreOld(const Run& run) {
    const TableForm form = M::formOf(run.service, BCASettingsSchema, BCASettingsTableName);
    return form.columns < 12 || !form.isInOrder();
}

constexpr std::size_t DssColumnsBeforeMonitoring = 9;

bool dssKeysAreOld(const Run& run) {
    const TableForm form = M::formOf(run.service, DssKeySettingsSchema, DssKeySettingsTableName);
    return form.columns == 6 || (!form.isInOrder() && form.columns != DssColumnsBeforeMonitoring);
}

bool dssKeysLackMonitoring(const Run& run) {
    return M::formOf(run.service, DssKeySettingsSchema, DssKeySettingsTableName).columns ==
           DssColumnsBeforeMonitoring;
}

bool callGroupsAreOld(const Run& run) {
    const TableForm form = M::formOf(run.service, CallGroupSchema, CallGroupTableName);
    return form.columns == 3 || !form.isInOrder();
}

/// Columns that other steps of their own add at the end of the table.
const std::pair<const char*, const std::string*> AddedStimulusColumns[] = {
    {"XsiCallCenterName", &columnTypeText},
    {"AicsAcdOnly", &columnTypeText},
    {"XsiCallCenterRelatedLine", &columnTypeText},
    {"BlfSipLineAction", &columnTypeInteger}};

constexpr std::size_t StimulusColumnsOfOlderReleases[] = {5, 7, 15, 16, 17};
constexpr long StimulusRowsOfAnOlderRelease = 66;

bool stimulusKeysAreOld(const Run& run) {
    const TableForm form =
        M::formOf(run.service, StimulusKeySettingsSchema, StimulusKeySettingsTableName);
    for (const std::size_t old : StimulusColumnsOfOlderReleases) {
        if (form.columns == old) {
            return true;
        }
    }
    const bool lacksOnlyAdded = form.inPlace == form.columns &&
                                form.wanted - form.columns <= std::size(AddedStimulusColumns);
    return (!form.isInOrder() && !lacksOnlyAdded) ||
           rowsOf(run.service, StimulusKeySettingsTableName) == StimulusRowsOfAnOlderRelease ||
           !hasRow(run, StimulusKeySettingsTableName, "'30'");
}

bool fixedKeysAreOld(const Run& run) {
    return M::isRowPresent(run.service, FixedKeysTableName, FunctionTagName, "'0'") ||
           !hasRow(run, FixedKeysTableName, "'30'");
}

bool srtpTableMayLackMethods(const Run& run) {
    const long rows = rowsOf(run.service, SrtpEncryptionSettingsTableName);
    return rows >= 1 && rows <= 4;
}

// Actions that are more than a single call --------------------------------------------------------

void migrateStimulusKeys(const Run& run) {
    M::migrateStimulusKeySettingsTable(
        run.service, columnsOf(run, AllStimulusKeys),
        static_cast<int>(rowsOf(run.service, StimulusKeySettingsTableName)));
}

/// Tables whose rows the database numbers and that no other step checks. A read of the contacts
/// includes the conversations and would fail without their columns.
const std::pair<const std::string*, const std::string*> NumberedTables[] = {
    {&ConversationsSchema, &ConversationsTableName},
    {&DialPlanEntriesSchema, &DialPlanEntriesTableName}};

void migrateContacts(const Run& run) {
    for (const auto& [schema, table] : NumberedTables) {
        if (run.service->getAdapter()->isTableKnown(*table)) {
            M::bringIntoOrder(run.service, *schema, *table);
        }
    }
    // Comes before any step that adds a row: after the highest possible number the database has no
    // number for a new row.
    RowNumbers::limit(*run.service->getAdapter());
    M::migratePhoneBookTable(run.service);
}

/// Each normal start logs a success here: kept on purpose, since a result of 1 also means that
/// there was no work.
void compareCallLog(const Run& run) {
    switch (M::DAOCompatibilityWithDb(run.service, "CallLog", "CALL_LOG")) {
        case 0:
            DAS_LOG(5, "No database update necessary for CallLog");
            break;
        case 1:
            DAS_LOG(5, "Database update successfully performed for CallLog");
            break;
        default:
            DAS_LOG(5, "Failed updating CallLog database");
    }
}

void addStimulusColumns(const Run& run) {
    for (const auto& [column, type] : AddedStimulusColumns) {
        M::addColumnToTable(run.service, StimulusKeySettingsTableName, column, *type, false);
    }
}

void runV1R1ToV1R2(const Run& run) {
    V1R1ToV1R2Migrator(run.service->getAdapter()).execute();
}

/// Rows are stored by position, so the table must have its columns in their order.
void addEncryptionMethods(const Run& run) {
    (void)M::rebuildIntoDaoColumns(run.service, SRTPEncryptionSettingsSchema,
                                   SrtpEncryptionSettingsTableName);
    M::addMissingAesToSrtpEncryptionTable(
        run.service, static_cast<int>(rowsOf(run.service, SrtpEncryptionSettingsTableName)));
}

void encryptSettings(const Run& run) {
    M::migrateEncryptedData(run.service->getDAOFactory(), run.service->getAdapter());
}

void encryptLineKeys(const Run& run) {
    M::migrateToEncryptedPasswordsForKeySettings(run.service, LineKeySettingsTableName, 6,
                                                 LineSipPasswordTagName, LineSipPasswordEncTagName);
}

void encryptDssKeys(const Run& run) {
    M::migrateToEncryptedPasswordsForKeySettings(run.service, DssKeySettingsTableName, 5,
                                                 DssSipPasswordTagName, DssSipPasswordEncTagName);
}

void encryptStimulusKeys(const Run& run) {
    M::migrateToEncryptedPasswordsForKeySettings(run.service, StimulusKeySettingsTableName, 14,
                                                 "SendUrlPasswd", "SendUrlPasswdEnc");
}

/// Makes a step from an operation that needs only the service.
template <void (*Operation)(DataAccessServiceIfc*)>
void call(const Run& run) {
    Operation(run.service);
}

// The steps --------------------------------------------------------------------------------------

// The order is binding: later steps expect the columns, names and contexts that earlier ones make.
const Step Steps[] = {
    {1, "users of the telephone", isBeforeMobility, call<M::migrateToMobilityDatabase>,
     "checkAndMigrateDatabase - migrating database for Mobility additions",
     "checkAndMigrateDatabase - no migration required for Mobility"},
    {2, "protocol of the software", nullptr, call<M::checkAndMigrateQFADatabase>},
    {3, "update values", nullptr, call<M::applyUpdateValuesFile>},
    {4, "moved settings", nullptr, call<M::migrateMovedItems>},
    {5, "door openers", nullptr,
     [](const Run& run) { M::dbMigrateDoorOpenerSettings(run.service, true); }},
    {6, "settings", nullptr, call<M::normalizeGeneralConfigTable>},
    {7, "device items", nullptr, call<M::validateDeviceItems>},
    {8, "line keys", lineKeysAreOld, call<M::migrateLineKeySettingsTable>,
     "Migrating database for LINE_KEY_SETTINGS",
     "No database migration required for LINE_KEY_SETTINGS"},
    {9, "BCA settings", bcaSettingsAreOld, call<M::migrateBcaSettingsTable>,
     "Migrating database for BCA_SETTINGS", "No database migration required for BCA_SETTINGS"},
    {10, "defaults of line keys", nullptr, call<M::dbCheckAndMigrateLineKeySettingsDefaults>},
    {11, "contacts", nullptr, migrateContacts, "Checking database for Phonebook additions"},
    {12, "columns of contacts", nullptr, call<M::checkValidityOfPhoneBookTable>},
    {13, "DSS keys", dssKeysAreOld, call<M::migrateDSSKeySettingsTable>,
     "Migrating database for DSS Key Settings",
     "No database migration required for DSS Key Settings"},
    {14, "DSS keys, monitoring", dssKeysLackMonitoring,
     call<M::migrateDSSKeySettingsTableForMonitorOnly>,
     "Migrating database for DSS Key Settings For Monitor Only Option",
     "No database migration required for DSS Key Settings For Monitor Only Option"},
    {15, "stimulus keys", stimulusKeysAreOld, migrateStimulusKeys,
     "Migrating database for Stimulus Key Settings",
     "No database migration required for Stimulus Key Settings"},
    {16, "users of contacts", [](const Run& run) { return columnsOf(run, AllContacts) == 17; },
     [](const Run& run) {
         M::migrateTableForMobility(run.service, "PHONE_BOOK", "PhoneBook", false, 18);
     },
     "Migrating database for Phonebook mobility",
     "No database migration required for Phonebook mobility"},
    {17, "call log", nullptr, compareCallLog},
    // This message names another table than that of the step: kept on purpose, people search the
    // log for it.
    {18, "users of call groups", callGroupsAreOld,
     [](const Run& run) {
         M::migrateTableForMobility(run.service, "CallGroup", "CallGroup", true, 4);
     },
     "Migrating database for CallLog mobility",
     "No database migration required for CallLog mobility"},
    {19, "feature keys", [](const Run& run) { return hasRow(run, FeatureKeysTableName, "'31'"); },
     call<M::migrateFeatureKeysTable>},
    {20, "fixed keys", fixedKeysAreOld, call<M::migrateFixedKeysTable>},
    {21, "start applications",
     [](const Run& run) { return hasRow(run, StartApplicationTableName, "'30'"); },
     call<M::migrateStartAppKeysTable>},
    {22, "transport settings", nullptr, call<M::checkTransportSettingsOrder>},
    {23, "default rows", nullptr, call<M::addDefaultRowsToExistingTablesWhereMissing>},
    {24, "callback items", nullptr, call<M::deleteCallbackItems>},
    {25, "emergency number", nullptr,
     [](const Run& run) { M::migrateWrongEmergencyNumber(run.service, &run.settingsColumns); }},
    {26, "default feature keys", nullptr, call<M::migrateFeatureKeysTableForDefaultRows>},
    {27, "columns of keys", nullptr, call<M::migrateFixedAndFeatureKeysTableForDefaultColumns>},
    {28, "network access settings", nullptr, call<M::migrateDot1xSettings>},
    {29, "WLAN settings", nullptr, call<M::migrateWlanSettings>},
    {30, "encrypted settings", nullptr, encryptSettings},
    {31, "encrypted file transfer", nullptr, call<M::migrateToEncryptedFTPPass>},
    {32, "encrypted line keys", nullptr, encryptLineKeys},
    {33, "encrypted DSS keys", nullptr, encryptDssKeys},
    {34, "encrypted stimulus keys", nullptr, encryptStimulusKeys},
    {35, "Bluetooth devices", nullptr, call<M::migrateBluetoothTrustedDevices>},
    {36, "negotiation of secure calls", nullptr, call<M::upgradeFromV3ToWebRTC>},
    {37, "V1R1 to V1R2", nullptr, runV1R1ToV1R2},
    {38, "columns of stimulus keys", nullptr, addStimulusColumns},
    {39, "calls and doubled contacts", nullptr,
     [](const Run& run) { (void)M::callLogTableChecker(run.service); }},
    {40, "conversations", nullptr, call<M::conversationsTableCleanup>},
    {41, "landing screen", nullptr,
     [](const Run& run) { M::migrateFeatureToCurrentUser(run.service, "LandingScreen"); }},
    {42, "numbers of contacts", nullptr, call<M::phonebookTableCleanup>},
    {43, "shown digits", nullptr,
     [](const Run& run) { M::migrateFeatureToCurrentUser(run.service, "DisplayDTMFDigits"); }},
    {44, "distinctive ringers", nullptr, call<M::distinctiveRingerTableCleanup>},
    {45, "media encryption", srtpTableMayLackMethods, addEncryptionMethods},
};

void logWords(const char* words) {
    if (words != nullptr) {
        DAS_LOG(5, "%s", words);
    }
}

/// Reports to an observer which step runs now, or that all are done.
void reportStep(const Step& step, bool isDone) {
    if (Progress::isWatched()) {
        const std::size_t all = std::size(Steps);
        const auto number = static_cast<std::size_t>(step.number);
        Progress::report({"upgrade, step " + std::to_string(number) + " of " + std::to_string(all) +
                              ": " + step.subject,
                          0, isDone ? all : number - 1, all});
    }
}

void runStep(const Step& step, const Run& run) {
    const bool isDue = step.test == nullptr || step.test(run);
    logWords(isDue ? step.wordsWhenRun : step.wordsWhenNot);
    if (isDue) {
        step.action(run);
    }
}

/// Empties the caches of the settings now and again at the end of the scope: the steps fill the
/// caches by reading, and then change the rows that are cached.
struct SettingsCachesAside {
    SettingsCachesAside() { GeneralConfigurationDAO::clearStaticCaches(); }
    ~SettingsCachesAside() { GeneralConfigurationDAO::clearStaticCaches(); }
    SettingsCachesAside(const SettingsCachesAside&) = delete;
    SettingsCachesAside& operator=(const SettingsCachesAside&) = delete;
};

}  // namespace

void DASMigrator::checkAndMigrateDatabase(DataAccessServiceIfc* service) {
    if (service == nullptr || service->getAdapter() == nullptr ||
        service->getDAOFactory() == nullptr) {
        DAS_LOG(2, "checkAndMigrateDatabase - no database");
        return;
    }
    const Run run{service, StepHelpers::settingsColumns()};
    SettingsCachesAside aside;
    for (const Step& step : Steps) {
        if (Work::isEnding()) {
            DAS_LOG(2, "The upgrade ends before step %d: the process is to end", step.number);
            return;
        }
        reportStep(step, false);
        runStep(step, run);
    }
    reportStep(*std::rbegin(Steps), true);
}

bool DASMigrator::dbIsPreMobility(DataAccessServiceIfc* service) {
    PairList conditions = {{"Schema", "'MobilitySettings'"},
                           {UserContextTagName, EmptyDBString},
                           {"Name", "'MobilityCurrentUser'"}};
    DatabaseAdapter& adapter = *service->getAdapter();
    std::string count;
    const bool isCounted = adapter.countRows(GeneralConfigTableName, conditions, count) == 0;
    DAS_LOG(5, "dbIsPreMobility - row count =  %s", count.c_str());
    if (isCounted) {
        return count == "0";
    }
    // Only a known older form counts as older: if the columns of a database of today can't be read,
    // the visitor must not become "base".
    std::vector<std::string> names;
    (void)adapter.getColumnNames(GeneralConfigTableName, names);
    return !DASUtils::columnIsInColumnList(UserContextTagName, names);
}

void DASMigrator::migrateToMobilityDatabase(DataAccessServiceIfc* service) {
    bool isRenewed = true;
    migrateFeatureKeysTable(service);
    migrateFtpSettingsTable(service);
    if (rowsOf(service, GeneralConfigTableName) == 0) {
        createGeneralConfigTable(service);
    } else {
        isRenewed = migrateGeneralConfigTable(service, StepHelpers::settingsColumns());
    }
    (void)service->getAdapter()->dropTable("IMAGES");  // a missing table counts as dropped
    if (!isRenewed) {
        return;  // without the mark the next start tries again
    }
    (void)DASUtils::insertMobilityCurrentUserValue(service->getAdapter(), UserContextBase);
}
