// The driver of the migrations: order and words of the steps, keys that move.

#include "upgrade/DASMigrator.h"

#include "DASUtilsStrings.h"
#include "dao/DataAccessObject.h"
#include "schemas/DAOFactory.h"
#include "testkit/RecordingAdapter.h"
#include "testkit/RecordingManagement.h"
#include "upgrade/V1R1ToV1R2Migrator.h"

namespace {

const char* const PreviousVersionFile = "/.QuilldeskRootFileSystemImageVersion.prev.txt";

/// A test that makes a database before the service starts.
class DASMigratorTest : public ServiceTest {
protected:
    void SetUp() override {}

    /// The entries of @p expected that are not in the log in this order; empty when all are.
    std::string missingFromLog(const std::vector<std::string>& expected) {
        auto next = expected.begin();
        for (const Log::Entry& entry : m_log.entries()) {
            if (next != expected.end() && entry.message.find(*next) != std::string::npos) {
                ++next;
            }
        }
        return next == expected.end() ? "" : *next;
    }
};

std::string row(const std::string& table, const std::string& column, const std::string& value) {
    return "isRowPresent checking in " + table + ", for " + column + " " + value + ",";
}

}  // namespace

// A copy that had been damaged was put in place of a sound database.
TEST_F(DASMigratorTest, ADamagedCopyIsPutBackOnlyOverADatabaseThatIsNoBetter) {
    load("settings_of_today");
    load("phone_book_18");
    const std::string whole = readFile(database());
    const std::string damaged = whole.substr(0, whole.size() / 2);
    const std::filesystem::path copy = database().string() + ".before-upgrade";
    for (const auto& [inPlace, companion, sound] : {std::tuple{whole, damaged, true},
                                                 {damaged, whole, true},
                                                 {whole, std::string("x"), true},
                                                 {std::string(), damaged, false},
                                                 {damaged, damaged, false}}) {
        SCOPED_TRACE(std::to_string(inPlace.size()) + ", " + std::to_string(companion.size()));
        writeFile(database(), inPlace);
        writeFile(copy, companion);
        start();
        stop();
        EXPECT_EQ(DatabaseAdapter::isSound(database()), sound);
        EXPECT_FALSE(std::filesystem::exists(copy));
    }
}

// The order is part of what old databases rely on. Steps without words show by what they ask.
TEST_F(DASMigratorTest, StepsRunInTheirOrder) {
    start();
    m_log.clear();
    start();
    std::vector<std::string> expected = {
        "dbIsPreMobility - row count =  1",
        "checkAndMigrateDatabase - no migration required for Mobility",
        "No database migration required for LINE_KEY_SETTINGS",
        "No database migration required for BCA_SETTINGS",
        "Checking database for Phonebook additions",
        "No database migration required for DSS Key Settings",
        "No database migration required for DSS Key Settings For Monitor Only Option",
        "No database migration required for Stimulus Key Settings",
        "No database migration required for Phonebook mobility",
        "Database update successfully performed for CallLog",
        "No database migration required for CallLog mobility",
        row("FEATURE_KEYS", "Id", "'31'"),
        row("FIXED_KEYS", "Function", "'0'"),
        row("FIXED_KEYS", "Id", "'30'"),
        row("START_APPLICATION", "Id", "'30'"),
        row("BCA_SETTINGS", "Id", "'10'"),
        row("DEFLECT_KEY_DESTINATIONS", "Id", "'1017'"),
        row("DSS_KEY_SETTINGS", "Id", "'109'"),
        row("FEATURE_KEYS", "Id", "'1017'"),
        row("FEATURE_TOGGLE_KEY_SETTINGS", "Id", "'109'"),
        row("FORWARDING_KEY_DESTINATIONS", "Id", "'109'"),
        row("FORWARDING_KEY_DESTINATIONS", "Id", "'32'"),
        row("LINE_KEY_SETTINGS", "Id", "'109'"),
        row("REPERTORY_DIALLING", "Id", "'1017'"),
        row("SELECTED_DIALLING", "Id", "'1017'"),
        row("START_APPLICATION", "Id", "'1017'"),
        row("STIMULUS_KEY_SETTINGS", "Id", "'200'"),
        row("LINE_KEY_SETTINGS", "Id", "'200'"),
        row("DSS_KEY_SETTINGS", "Id", "'200'"),
        row("FEATURE_TOGGLE_KEY_SETTINGS", "Id", "'200'"),
    };
    for (const char* column :
         {"XsiCallCenterName", "AicsAcdOnly", "XsiCallCenterRelatedLine", "BlfSipLineAction"}) {
        expected.push_back(std::string("addColumnToTable: ") + column + " already exists");
    }
    EXPECT_EQ(missingFromLog(expected), "");
    EXPECT_FALSE(m_log.has("Migrating database"));
    EXPECT_FALSE(m_log.has("migrateTableByAddingMissingDefaultLines"));
}

TEST_F(DASMigratorTest, WordsTellWhichStepsHadWork) {
    const struct {
        const char* database;
        const char* words;
    } rows[] = {
        {"line_keys_18", "Migrating database for LINE_KEY_SETTINGS"},
        {"bca_11", "Migrating database for BCA_SETTINGS"},
        {"dss_keys_6", "Migrating database for DSS Key Settings"},
        {"dss_keys_9", "Migrating database for DSS Key Settings For Monitor Only Option"},
        {"stimulus_keys_16", "Migrating database for Stimulus Key Settings"},
        {"phone_book_17", "Migrating database for Phonebook mobility"},
        {"call_group_3", "Migrating database for CallLog mobility"},
    };
    for (const auto& each : rows) {
        SCOPED_TRACE(each.database);
        stop();
        std::filesystem::remove(database());
        load("settings_of_today");
        load(each.database);
        m_log.clear();
        start();
        EXPECT_TRUE(m_log.has(5, each.words));
        EXPECT_TRUE(m_log.has(5, "checkAndMigrateDatabase - no migration required for Mobility"));
    }
}

TEST_F(DASMigratorTest, ChangeOfProtocolKeepsWhatNamesTheTelephone) {
    RecordingManagement management;
    m_context.services["LocalMgmtIfc"] = &management;
    load("other_protocol");
    writeFile(onDevice(PreviousVersionFile), "V3R1 SIP 120\nnext line\n");
    start();
    EXPECT_EQ(management.resets, 1);
    EXPECT_EQ(joined("SELECT * FROM GENERAL_CONFIG ORDER BY Schema, Name"),
              "Dot1xSettings||Dot1xAuthentication|1|Dot1xSettings||RadiusServerValidation|true|"
              "MobilitySettings||MobilityCurrentUser|base|QfaBaseSettings||TerminalNumber|+49 89 "
              "'722' 0|TransportSettings||DHCPenabled|false|TransportSettings||DLSaddress|"
              "192.0.2.7|TransportSettings||DLSport|18443|TransportSettings||DefaultMask|"
              "255.255.255.0|TransportSettings||PhoneIPaddress|192.0.2.20|");
    EXPECT_EQ(cell("SELECT COUNT(*) FROM PHONE_BOOK"), "0");
    EXPECT_TRUE(m_log.has(5, "DB items from SIP has migrated successfully. E164 = +49 89 '722' 0"));
    start();
    EXPECT_EQ(management.resets, 1);
}

// A telephone whose address comes from the network has no address of its own.
TEST_F(DASMigratorTest, ChangeOfProtocolNeedsNoneOfTheAddresses) {
    const struct {
        const char* removed;
        const char* kept;
    } rows[] = {
        {"Name IN ('PhoneIPaddress', 'DefaultMask', 'DefaultRoute')",
         "DHCPenabled=false,DLSaddress=192.0.2.7,DLSport=18443"},
        {"Name = 'PhoneIPaddress'",
         "DHCPenabled=false,DLSaddress=192.0.2.7,DLSport=18443,DefaultMask=255.255.255.0"},
        {"Name = 'DHCPenabled'", "DLSaddress=192.0.2.7,DLSport=18443"},
        {"1 = 0; DELETE FROM GENERAL_CONFIG WHERE Name = 'DHCPenabled'",
         "DLSaddress=192.0.2.7,DLSport=18443"},
        {"Schema = 'TransportSettings'", ""},
    };
    RecordingManagement management;
    m_context.services["LocalMgmtIfc"] = &management;
    for (const auto& each : rows) {
        SCOPED_TRACE(each.removed);
        stop();
        std::filesystem::remove(database());
        load("other_protocol");
        // Another schema has them all.
        sql("INSERT INTO GENERAL_CONFIG SELECT 'Other', '', Name, 'other' FROM GENERAL_CONFIG "
            "WHERE Schema = 'TransportSettings'; DELETE FROM GENERAL_CONFIG WHERE Schema <> "
            "'Other' AND " +
            std::string(each.removed));
        writeFile(onDevice(PreviousVersionFile), "SIP");
        m_log.clear();
        start();
        EXPECT_EQ(cell("SELECT ifnull(group_concat(Name || '=' || Value), '') FROM (SELECT * FROM "
                       "GENERAL_CONFIG WHERE Schema = 'TransportSettings' ORDER BY Name)"),
                  each.kept);
        EXPECT_FALSE(m_log.has(2, "ended early"));
    }
}

TEST_F(DASMigratorTest, OtherVersionsAndDatabasesChangeNoProtocol) {
    const std::string noNumber = "DELETE FROM GENERAL_CONFIG WHERE Name = 'TerminalNumber';";
    const struct {
        const char* name;
        std::string version;
        std::string change;
        bool endsEarly;
    } rows[] = {
        {"blank line", "\nSIP", "", false},
        {"empty file", "", "", false},
        {"other software", "V3R1 QFA", "", false},
        {"second line", "V3R1\nSIP\n", "", false},
        {"huge line", std::string(5000000, 'x') + "SIP", "", false},
        {"zeros", std::string(5000000, '\0'), "", false},
        {"already changed", "SIP",
         "INSERT INTO GENERAL_CONFIG VALUES ('QfaBaseSettings', '', 'X', '1');", false},
        {"no number", "SIP", noNumber, false},
        // A database that is not as the test believes must not be reset.
        {"number of another schema", "SIP",
         noNumber + "INSERT INTO GENERAL_CONFIG VALUES ('SipBaseSettings', '', 'Other', '1'), "
                    "('Locale', '', 'TerminalNumber', '1');",
         true},
    };
    RecordingManagement management;
    m_context.services["LocalMgmtIfc"] = &management;
    for (const auto& each : rows) {
        SCOPED_TRACE(each.name);
        stop();
        std::filesystem::remove(database());
        load("other_protocol");
        sql("DELETE FROM GENERAL_CONFIG WHERE Name = 'MobilityCurrentUser';"
            "INSERT INTO GENERAL_CONFIG VALUES ('MobilitySettings', '', 'MobilityCurrentUser', "
            "'');" +
            each.change);
        writeFile(onDevice(PreviousVersionFile), each.version);
        m_log.clear();
        start();
        EXPECT_EQ(management.resets, 0);
        EXPECT_EQ(cell("SELECT Value FROM GENERAL_CONFIG WHERE Name = 'DLSport'"), "18443");
        EXPECT_EQ(m_log.has(2, "The migration of the database ended early"), each.endsEarly);
        EXPECT_EQ(send("getCurrentUser"), "base");
    }
}

TEST_F(DASMigratorTest, FixedKeysThatMoveWinWhereTheyHaveAFunction) {
    load("settings_of_today");
    load("keys_of_earlier_release");
    sql("INSERT INTO FEATURE_KEYS VALUES ('base', '30', '7'), ('base', '31', '0'), "
        "('visitor', '31', '8'), ('base', '32', '9'), ('visitor', '32', '0'), "
        "('base', '38', ''), ('base', '100', '5');"
        "INSERT INTO FIXED_KEYS VALUES ('base', '30', '1'), ('base', '31', '2'), "
        "('base', '38', '3'), ('base', '39', '0'), ('visitor', '39', '4'), "
        "('visitor', '32', '6'), ('visitor', '38', '0');"
        "INSERT INTO START_APPLICATION VALUES ('base', '30', 'new'), ('base', '31', ''), "
        "('base', '32', 'copied'), ('base', '100', 'own');");
    start();
    EXPECT_EQ(joined("SELECT UserContext, Id, Function FROM FIXED_KEYS ORDER BY 1, 2"),
              "base|30|7|base|31|2|base|32|9|base|38|3|base|39||"
              "visitor|30|65|visitor|31|8|visitor|32|6|visitor|38|67|visitor|39|4|");
    EXPECT_EQ(joined("SELECT Id, Function FROM FEATURE_KEYS WHERE UserContext = 'base' AND "
                     "CAST(Id AS INT) < 101 ORDER BY CAST(Id AS INT)"),
              "32|9|100|5|");
    EXPECT_EQ(joined("SELECT Id, ApplicationName FROM START_APPLICATION_FIXED_KEYS WHERE "
                     "UserContext = 'base' ORDER BY 1"),
              "30|new|31||32|copied|38||39||");
    EXPECT_EQ(joined("SELECT DISTINCT Id FROM START_APPLICATION WHERE ApplicationName <> ''"),
              "32|100|");
}

TEST_F(DASMigratorTest, KeysOfV1R1MoveOnceAndOnlyWithAFunction) {
    start();
    const std::string fixed = "SELECT UserContext, Id, Function FROM FIXED_KEYS ORDER BY 1, 2";
    sql("INSERT INTO FEATURE_KEYS VALUES ('base', '30', '7', 'true', 'L', 'true'), "
        "('visitor', '39', '8', '', '', ''), ('base', '38', '0', '', '', '');");
    V1R1ToV1R2Migrator(service().getAdapter()).execute();
    EXPECT_EQ(joined(fixed), "base|30|7|base|31|64|base|32|66|base|38|67|visitor|39|8|");
    EXPECT_EQ(joined("SELECT Locked, Label, Local FROM FIXED_KEYS WHERE Id = '30'"),
              "true|L|true|");
    EXPECT_EQ(joined("SELECT Id FROM FEATURE_KEYS WHERE CAST(Id AS INT) < 100 AND Id <> '32'"),
              "38|");
    sql("DROP TABLE FIXED_KEYS");
    V1R1ToV1R2Migrator(service().getAdapter()).execute();
    EXPECT_FALSE(m_log.has(2, "The fixed keys stay in FEATURE_KEYS"));
    V1R1ToV1R2Migrator(nullptr).execute();
}

// A label belongs to the function that the model puts on a key, not to the key.
TEST_F(DASMigratorTest, NewLabelsGoWhereTheFunctionIsTheModelsOwn) {
    ::setenv("DAS_HARDWARE", "subvariant=3,vx100", 1);
    load("settings_of_today");
    sql("CREATE TABLE FEATURE_KEYS (Function TEXT, Id TEXT, UserContext TEXT, Color TEXT);"
        "INSERT INTO FEATURE_KEYS VALUES ('74', '100', 'base', 'red'), ('64', '101', 'base', ''), "
        "(NULL, '102', 'base', '');");
    start();
    EXPECT_EQ(joined("SELECT Id, Function, Label, Locked FROM FEATURE_KEYS WHERE UserContext = "
                     "'base' AND CAST(Id AS INT) BETWEEN 100 AND 103 ORDER BY Id"),
              "100|74|Call log|false|101|64||false|102|64|FwdMenu|false|103|0||false|");
    EXPECT_TRUE(m_log.has(2, "The column Color of FEATURE_KEYS is given up"));
}

// The rows of the two users meet under one id, and the later one wins in both.
TEST_F(DASMigratorTest, BusyLampsMoveBy144) {
    load("settings_of_today");
    sql("CREATE TABLE FORWARDING_KEY_DESTINATIONS (UserContext TEXT, Id TEXT, "
        "ForwardingDialNumber TEXT, ForwardingType TEXT);"
        "INSERT INTO FORWARDING_KEY_DESTINATIONS VALUES ('base', '618', 'a''1', '1'), "
        "('visitor', '618', 'v', '2'), ('base', '617', 'stays', '3'), ('base', '700', '7', '4');");
    start();
    EXPECT_EQ(joined("SELECT UserContext, Id, ForwardingDialNumber, ForwardingType FROM "
                     "FORWARDING_KEY_DESTINATIONS WHERE ForwardingDialNumber <> '' ORDER BY 2, 1"),
              "base|617|stays|3|base|762|v|2|visitor|762|v|2|base|844|7|4|");
    EXPECT_EQ(cell("SELECT COUNT(*) FROM FORWARDING_KEY_DESTINATIONS WHERE Id IN ('700', '109')"),
              "4")
        << "default rows fill the old ids";
    EXPECT_TRUE(
        m_log.has(5, " BLF ROW(Row count = 3 ) will be deleted and created with the new IDs"));
}

// What ends the steps does not end the start.
TEST_F(DASMigratorTest, ATableThatNoReleaseMadeEndsTheStepsAndNotTheStart) {
    load("settings_of_today");
    sql("CREATE TABLE FORWARDING_KEY_DESTINATIONS (UserContext TEXT, Id TEXT, "
        "ForwardingDialNumber TEXT);"
        "INSERT INTO FORWARDING_KEY_DESTINATIONS VALUES ('base', '618', '1');");
    start();
    EXPECT_TRUE(m_log.has(2, "The migration of the database ended early: "));
    EXPECT_EQ(cell("SELECT ForwardingDialNumber FROM FORWARDING_KEY_DESTINATIONS"), "1");
    EXPECT_EQ(send("getCurrentUser"), "visitor");
}

TEST_F(DASMigratorTest, DevicesWithoutAUserAreTheOwners) {
    start();
    (void)send("BluetoothTrusted", "read_request");
    sql("INSERT INTO BLUETOOTH_TRUSTED VALUES ('', 'A', 'twice', ''), ('base', 'A', 'own', ''), "
        "('', 'B', 'only', ''), ('visitor', 'A', 'guest', '');");
    DASMigrator::migrateBluetoothTrustedDevices(&service());
    EXPECT_EQ(joined("SELECT UserContext, Id, DeviceName FROM BLUETOOTH_TRUSTED ORDER BY 1, 2"),
              "base|A|own|base|B|only|visitor|A|guest|");
}

TEST_F(DASMigratorTest, NullCellsOfLineKeysTakeDefaultsAndBlankOnesStay) {
    start();
    sql("UPDATE LINE_KEY_SETTINGS SET LineVisualAlert = NULL, RingingLine = '', LineSipURI = NULL "
        "WHERE Id = '100'");
    start();
    EXPECT_EQ(joined("SELECT LineVisualAlert, RingingLine, LineSipURI IS NULL FROM "
                     "LINE_KEY_SETTINGS WHERE Id = '100' AND UserContext = 'base'"),
              "2||1|");
}

TEST_F(DASMigratorTest, OnlyARenamedColumnMakesTheCallLogDifferent) {
    start();
    (void)send("CallLog", "write_request", xml::entry({{"Surname", "A"}}));
    const auto compare = [&] {
        service().constructorActions();  // a connection that knows the columns
        return DASMigrator::DAOCompatibilityWithDb(&service(), "CallLog", "CALL_LOG");
    };
    EXPECT_EQ(compare(), 1);
    sql("ALTER TABLE CALL_LOG RENAME COLUMN GroupNumber9 TO Other");
    testing::internal::CaptureStdout();
    EXPECT_EQ(compare(), 1);
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              "xx - int DASMigrator::DAOCompatibilityWithDb -> not present GroupNumber9 -- TEXT\n");
    EXPECT_EQ(cell("SELECT Surname FROM CALL_LOG WHERE GroupNumber9 IS NULL"), "A");
    sql("ALTER TABLE CALL_LOG ADD COLUMN One TEXT");
    sql("ALTER TABLE CALL_LOG RENAME COLUMN GroupNumber9 TO Other");
    EXPECT_EQ(compare(), 1) << "another number of columns is no work here";
    EXPECT_EQ(cell("SELECT Surname FROM CALL_LOG WHERE Other IS NULL"), "A");
    sql("ALTER TABLE CALL_LOG DROP COLUMN One; ALTER TABLE CALL_LOG DROP COLUMN Other");
    start();
    EXPECT_EQ(cell("SELECT Surname || '|' || GroupNumber9 FROM CALL_LOG"), "A|")
        << "a start gives an older table what it lacks";
}

TEST_F(DASMigratorTest, SharedOperationsTellWhatTheyFind) {
    start();
    DataAccessServiceIfc* const svc = &service();
    EXPECT_TRUE(DASMigrator::columnExists(svc, "FIXED_KEYS", "Label"));
    EXPECT_TRUE(m_log.has(5, "columnExists(FIXED_KEYS, Label): rv=Y"));
    EXPECT_FALSE(DASMigrator::columnExists(svc, "NO_SUCH_TABLE", "Label"));
    EXPECT_TRUE(m_log.has(3, "columnExists(): Error getting the column names for NO_SUCH_TABLE"));
    DASMigrator::addColumnToTable(svc, "FIXED_KEYS", "New", "INTEGER", true);
    EXPECT_EQ(cell("SELECT DISTINCT New FROM FIXED_KEYS"), "0");
    DASMigrator::addColumnToTable(svc, "NO_SUCH_TABLE", "New", "TEXT", false);
    EXPECT_TRUE(m_log.has(2, "The column New cannot be added to the table"));
    EXPECT_TRUE(DASMigrator::compareStringsAsIntegers("9", "10"));
    EXPECT_FALSE(DASMigrator::compareStringsAsIntegers("10", "10"));
    DASMigrator::insertGeneralConfigRow(svc, {"'Locale'", "''", "'X'", "'1'"});
    DASMigrator::insertGeneralConfigRow(svc, {"'Locale'", "''"});
    EXPECT_EQ(m_log.count("Failed to insert NameMasterSource into GENERAL_CONFIG"), 1);
    EXPECT_EQ(DASMigrator::readAllFromSchema(svc->getDAOFactory(), "Locale"),
              xml::message("Locale", "readall_response", xml::element("X", "1")));
    DASMigrator::checkAndMigrateDatabase(nullptr);
}
