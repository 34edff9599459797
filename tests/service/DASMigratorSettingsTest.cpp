#include <algorithm>

#include "dao/GenConfigDeviceDataItems.h"
#include "database/DatabaseAdapter.h"
#include "settings/GeneralConfigurationDAO.h"
#include "testkit/ServiceTest.h"
#include "upgrade/DASMigrator.h"

namespace {

using Setting = std::vector<std::string>;

const std::vector<std::string> Columns = {"Schema", "UserContext", "Name", "Value"};

/// Settings migrations one by one, over a table whose rows the test gives.
class SettingsMigrationTest : public ServiceTest {
protected:
    void SetUp() override {
        ServiceTest::SetUp();
        fill({});
    }

    void fill(const std::vector<Setting>& settings) {
        sql("DELETE FROM GENERAL_CONFIG");
        insert(settings);
    }
    void insert(const std::vector<Setting>& settings) {
        for (Setting setting : settings) {
            for (std::string& cell : setting) {
                cell = DASUtils::escapeAndQuote(cell);
            }
            ASSERT_EQ(service().getAdapter()->insert("GENERAL_CONFIG", setting, nullptr), 0);
        }
    }
    std::vector<Setting> settings() {
        return sql(
            "SELECT Schema, UserContext, Name, Value FROM GENERAL_CONFIG "
            "ORDER BY 1, 2, 3, 4");
    }
    /// Changes the table's form over the service's own connection, which keeps the form in mind.
    void change(const std::string& statement) {
        ASSERT_EQ(service().getAdapter()->executeNonQuery(statement), 0) << statement;
    }
    void deviceItems(const std::string& list) {
        writeFile(onDevice("/Aurel_Deploy/Items.csv"), list);
        GenConfigDeviceDataItems::populateDeviceDataItemMapFromFile("/Aurel_Deploy/Items.csv");
    }
    /// Runs @p step twice: what it leaves the first time must be left the second time.
    template <typename Step>
    std::vector<Setting> afterTwice(Step step) {
        step();
        const auto once = settings();
        step();
        EXPECT_EQ(settings(), once) << "a second start changes something";
        return once;
    }
};

struct Move {
    const char* schema;
    const char* oldContext;
    const char* oldName;
    const char* newContext;
    const char* newName;
    bool oldStays;
};

// One of each kind, and one whose name does not change.
const Move Moves[] = {
    {"AcmsSettings", "", "WbmAllowed", "base", "WbmAllowed", false},
    {"SipBaseSettings", "", "SIPintermediateProxyPort", "base", "SIPintermediateProxyPortUser",
     true},
    {"SipBaseSettings", "base", "TransactionTimer", "", "TransactionTimer", true},
    {"DisplaySettings", "base", "MwiLED", "", "MessageWaitLED", true},
    {"SecuritySettings", "base", "SLOGFaultUserPwdTime", "", "SLOGFaultUserPwdTimeDevice", true},
};

}  // namespace

TEST_F(SettingsMigrationTest, EachMoveArrivesOnceInEachOfItsSituations) {
    for (const Move& move : Moves) {
        const Setting oldRow = {move.schema, move.oldContext, move.oldName, "o'ld"};
        const Setting arrived = {move.schema, move.newContext, move.newName, "o'ld"};
        const Setting newRow = {move.schema, move.newContext, move.newName, "new"};
        const struct {
            const char* name;
            std::vector<Setting> before;
            std::vector<Setting> after;
        } rows[] = {{"none", {}, {}},
                    {"old only", {oldRow}, {oldRow, arrived}},
                    {"new only", {newRow}, {newRow}},
                    {"both", {oldRow, newRow}, {oldRow, newRow}}};
        for (const auto& row : rows) {
            SCOPED_TRACE(std::string(move.oldName) + ", " + row.name);
            fill(row.before);
            auto expected = row.after;
            if (!move.oldStays) {
                expected.erase(std::remove(expected.begin(), expected.end(), oldRow),
                               expected.end());
            }
            std::sort(expected.begin(), expected.end());
            EXPECT_EQ(afterTwice([this] { DASMigrator::migrateMovedItems(&service()); }), expected);
        }
    }
}

TEST_F(SettingsMigrationTest, AnOldRowStaysWhenTheNewOneCanNotBeStored) {
    fill({{"AcmsSettings", "", "WbmAllowed", "x"}});
    sql("CREATE TRIGGER no BEFORE INSERT ON GENERAL_CONFIG BEGIN SELECT RAISE(FAIL, 'no'); END");
    DASMigrator::migrateMovedItems(&service());
    EXPECT_EQ(settings().size(), 1U);
}

TEST_F(SettingsMigrationTest, ACountThatFailsLeadsToNoDefault) {
    sql("ALTER TABLE GENERAL_CONFIG RENAME TO ASIDE");
    EXPECT_TRUE(DASMigrator::dbIsPreMobility(&service())) << "missing";
    sql("CREATE TABLE GENERAL_CONFIG (Schema, Name, Value)");
    EXPECT_TRUE(DASMigrator::dbIsPreMobility(&service())) << "older";
    sql("DROP TABLE GENERAL_CONFIG");
    // Each row of it overflows when it is looked at.
    sql("CREATE VIEW GENERAL_CONFIG AS SELECT abs(-9223372036854775807 - Value) AS Schema, "
        "UserContext, Name, 1 AS Value FROM (SELECT '' AS UserContext, 'MobilityCurrentUser' AS "
        "Name, 1 AS Value)");
    EXPECT_FALSE(DASMigrator::dbIsPreMobility(&service())) << "it is not known";
    EXPECT_TRUE(DASMigrator::checkDot1xSettings(&service()));
}

TEST_F(SettingsMigrationTest, DoorOpenersGoDownAndUpUnderBothNames) {
    fill({{"AcmsSettings", "", "DoorOpener2PhoneNumber", "before"},
          {"AcmsSettings", "", "DoorOpener3Fpkconfirmation", "true"}});
    DASMigrator::dbMigrateDoorOpenerSettings(&service(), true);
    EXPECT_EQ(cell("SELECT Value FROM GENERAL_CONFIG WHERE Name='DoorOpener2Phonenumber'"),
              "before");
    sql("UPDATE GENERAL_CONFIG SET Value='today' WHERE Name='DoorOpener2Phonenumber'");
    DASMigrator::downgradeDoorOpenerSettings(&service());
    EXPECT_EQ(cell("SELECT Value FROM GENERAL_CONFIG WHERE Name='DoorOpener2PhoneNumber'"),
              "today");
    EXPECT_EQ(cell("SELECT Value FROM GENERAL_CONFIG WHERE Name='DoorOpener3FPKConfirmation'"),
              "true");
    EXPECT_EQ(settings().size(), 4U) << "both names stay";
    DASMigrator::dbMigrateDoorOpenerSettings(nullptr, true);
}

TEST_F(SettingsMigrationTest, ATableWithoutItsKeyGetsOneAndLosesDoublesAlone) {
    change("DROP TABLE GENERAL_CONFIG");
    change("CREATE TABLE GENERAL_CONFIG (Schema TEXT, UserContext TEXT, Name TEXT, Value TEXT)");
    change("CREATE TABLE GENERAL_CONFIG_COPY (left TEXT)");
    sql("INSERT INTO GENERAL_CONFIG VALUES ('A','base','n','1'),('A','base','n','2'),"
        "('A',NULL,'n','o''k,\\'),('A','','n','o''k,\\'),('B',NULL,'m',NULL),('C','','l','x')");
    const auto after = afterTwice([this] {
        m_log.clear();
        DASMigrator::normalizeGeneralConfigTable(&service());
    });
    ASSERT_EQ(after.size(), 4U);
    EXPECT_EQ(after[0], (Setting{"A", "", "n", "o'k,\\"}));
    EXPECT_EQ(after[2], (Setting{"B", "", "m", ""}));
    EXPECT_NE(cell("SELECT sql FROM sqlite_master WHERE name='GENERAL_CONFIG'")
                  .find("PRIMARY KEY( Schema, UserContext, Name )"),
              std::string::npos);
    EXPECT_EQ(cell("SELECT COUNT(*) FROM sqlite_master WHERE name='GENERAL_CONFIG_COPY'"), "0");
    EXPECT_FALSE(m_log.has("Removing duplicates")) << "with the key it only asks for it";
}

TEST_F(SettingsMigrationTest, ATableOfOtherColumnsIsLeftAloneUnlessItIsEmpty) {
    const char* const columns[] = {"Schema TEXT, UserContext TEXT, Name TEXT, More TEXT",
                                   "Schema TEXT, Name TEXT"};
    for (const char* each : columns) {
        change("DROP TABLE GENERAL_CONFIG");
        change(std::string("CREATE TABLE GENERAL_CONFIG (") + each + ")");
        change("INSERT INTO GENERAL_CONFIG (Schema, Name) VALUES ('A', 'n'), ('A', 'n')");
        m_log.clear();
        DASMigrator::normalizeGeneralConfigTable(&service());
        EXPECT_TRUE(DASMigrator::migrateGeneralConfigTable(&service(), Columns));
        EXPECT_EQ(cell("SELECT COUNT(*) FROM GENERAL_CONFIG"), "2");
        EXPECT_EQ(m_log.count("left as it is"), 2);
        change("DELETE FROM GENERAL_CONFIG");
        DASMigrator::normalizeGeneralConfigTable(&service());
        insert({{"A", "base", "n", "v"}});
    }
}

// Such a table took no setting: a row of settings has four values.
TEST_F(SettingsMigrationTest, AnUnknownColumnOfSettingsIsGivenUpWithItsCountInTheLog) {
    change("DROP TABLE GENERAL_CONFIG");
    change(
        "CREATE TABLE GENERAL_CONFIG (Schema TEXT, UserContext TEXT, More TEXT, Name TEXT, "
        "Value TEXT, PRIMARY KEY( Schema, UserContext, Name ) )");
    change("INSERT INTO GENERAL_CONFIG VALUES ('A', 'base', 'x', 'n', 'v')");
    m_log.clear();
    DASMigrator::normalizeGeneralConfigTable(&service());
    EXPECT_TRUE(m_log.has(2, "The column More of GENERAL_CONFIG is given up with its values: 1"));
    EXPECT_EQ(settings(), (std::vector<Setting>{{"A", "base", "n", "v"}}));
    insert({{"B", "base", "m", "w"}});
}

TEST_F(SettingsMigrationTest, ADeviceItemEndsWithOneRowOfItsOwn) {
    deviceItems("Net\nNet,Mine,false\nSip,Port\nSip,Host\nOff,Mine,false\n");
    fill({{"Net", "", "Addr", "device"},
          {"Net", "base", "Addr", "base"},
          {"Net", "base", "Only", "b'ase"},
          {"Net", "visitor", "Guest", "visitor"},
          {"Net", "base", "Mine", "base"},
          {"Sip", "base", "Port", "1"},
          {"Sip", "base", "Other", "2"},
          {"Free", "base", "Port", "3"},
          {"Off", "base", "Mine", "4"},
          {"Off", "base", "Rest", "5"}});
    EXPECT_EQ(afterTwice([this] { DASMigrator::validateDeviceItems(&service()); }),
              (std::vector<Setting>{{"Free", "base", "Port", "3"},
                                    {"Net", "", "Addr", "device"},
                                    {"Net", "", "Only", "b'ase"},
                                    {"Net", "base", "Mine", "base"},
                                    {"Off", "", "Rest", "5"},
                                    {"Off", "base", "Mine", "4"},
                                    {"Sip", "", "Port", "1"},
                                    {"Sip", "base", "Other", "2"}}));
    DASMigrator::validateDeviceItems(nullptr);
}

TEST_F(SettingsMigrationTest, ASecretOfADeviceItemIsMaskedInTheLog) {
    deviceItems("Snmp\n");
    fill({{"Snmp", "base", "SnmpGetPassword", "topsecret"}});
    m_log.clear();
    DASMigrator::validateDeviceItems(&service());
    EXPECT_TRUE(m_log.has("validateDeviceItems: row[Snmp][base][SnmpGetPassword][*****]"));
}

TEST_F(SettingsMigrationTest, AnEmergencyNumberIsCutAtItsLastBadCharacter) {
    const struct {
        const char* before;
        const char* after;
    } rows[] = {{"112", "112"},
                {"+49*1#", "+49*1#"},
                {"11a2", "11"},
                {"1-1-2", "1-1"},
                {"abc", "ab"},
                {"11\xc3\xbc", "11"},
                {"1\xc3\xbc\xe2\x82\xac", "1\xc3\xbc"},
                {"1\x80", "1"},
                {"", ""},
                {"'; DROP TABLE x;", "'; DROP TABLE x"}};
    for (const auto& row : rows) {
        fill({{"A", "base", "EmergencyNumber", row.before},
              {"A", "", "EmergencyNumber", "5"},
              {"A", "", "Other", "x-y"}});
        DASMigrator::migrateWrongEmergencyNumber(&service(), &Columns);
        EXPECT_EQ(cell("SELECT Value FROM GENERAL_CONFIG WHERE UserContext='base'"), row.after);
        EXPECT_EQ(cell("SELECT Value FROM GENERAL_CONFIG WHERE Name='Other'"), "x-y");
    }
}

TEST_F(SettingsMigrationTest, SingleItemsAreAddedOnceAndOnlyWhereTheyBelong) {
    const auto addAll = [this] {
        DASMigrator::migrateDot1xSettings(&service());
        DASMigrator::migrateWlanSettings(&service());
    };
    EXPECT_EQ(afterTwice(addAll).size(), 2U) << "without wireless hardware";
    ::setenv("DAS_HARDWARE", "wifi", 1);
    EXPECT_EQ(afterTwice(addAll).size(), 3U);
    EXPECT_EQ(cell("SELECT UserContext || Value FROM GENERAL_CONFIG WHERE "
                   "Schema='CertificatePolicy' AND Name='WlanAuthenticationPolicy'"),
              "base1");
    fill({{"Dot1xSettings", "base", "Anything", "x"}});
    EXPECT_EQ(afterTwice([this] { DASMigrator::migrateDot1xSettings(&service()); }).size(), 1U);
}

TEST_F(SettingsMigrationTest, ADeviceFeatureGoesToTheCurrentUser) {
    const Setting feature = {"Disp", "", "LandingScreen", "2"};
    fill({feature});
    DASMigrator::migrateFeatureToCurrentUser(&service(), "LandingScreen");
    EXPECT_EQ(settings(), std::vector<Setting>{feature}) << "no current user is known";
    fill({feature, {"MobilitySettings", "", "MobilityCurrentUser", "it's"}});
    afterTwice([this] { DASMigrator::migrateFeatureToCurrentUser(&service(), "LandingScreen"); });
    EXPECT_EQ(cell("SELECT UserContext FROM GENERAL_CONFIG WHERE Name='LandingScreen'"), "it's");
}

TEST_F(SettingsMigrationTest, ItemsThatNobodyUsesGoEverywhere) {
    fill({{"A", "base", "CallbackBusyAllowed", "1"},
          {"B", "", "CallbackCancelAllowed", "1"},
          {"B", "", "CallbackOther", "1"}});
    EXPECT_EQ(afterTwice([this] { DASMigrator::deleteCallbackItems(&service()); }).size(), 1U);
}

TEST_F(SettingsMigrationTest, AFileOfValuesIsAppliedOnceAndRemoved) {
    deviceItems("Net\n");
    const auto file = onDevice("/Aurel_Deploy/DasUpdateValues.csv");
    fill({{"A", "base", "n", "old"}});
    writeFile(file, "# comment\nA,base,n,it's\\, new\nNet,Addr,1.2.3.4\nA,m,v\nx,y\na,b,c,d,e\n");
    DASMigrator::applyUpdateValuesFile(&service());
    EXPECT_EQ(settings(), (std::vector<Setting>{{"A", "base", "m", "v"},
                                                {"A", "base", "n", "it's, new"},
                                                {"Net", "", "Addr", "1.2.3.4"}}));
    EXPECT_FALSE(std::filesystem::exists(file));
    DASMigrator::applyUpdateValuesFile(&service());
}

namespace {

/// The table as it was before user mobility, of three columns or of four, with texts that break
/// statements and lines.
class OldSettingsTest : public SettingsMigrationTest {
protected:
    void SetUp() override {
        SettingsMigrationTest::SetUp();
        deviceItems("Net\n");
    }
    void makeOld(bool withContext) {
        change("DROP TABLE GENERAL_CONFIG");
        change(std::string("CREATE TABLE GENERAL_CONFIG (Schema TEXT, ") +
               (withContext ? "UserContext TEXT, " : "") + "Name TEXT, Value TEXT)");
        int number = 0;
        for (const std::string& value : Values) {
            Setting row = {"'A'", "'n" + std::to_string(number++) + "'",
                           DASUtils::escapeAndQuote(value)};
            if (withContext) {
                row.insert(row.begin() + 1, "''");
            }
            service().getAdapter()->insert("GENERAL_CONFIG", row, nullptr);
        }
        const std::string context = withContext ? "''," : "";
        change("INSERT INTO GENERAL_CONFIG VALUES ('Net'," + context + "'Addr','dev'),('#C'," +
               context + "'c','comment'),('N'," + context + "'null',NULL)");
    }
    void expectNew() {
        int number = 0;
        for (const std::string& value : Values) {
            EXPECT_EQ(cell("SELECT Value FROM GENERAL_CONFIG WHERE Schema='A' AND "
                           "UserContext='base' AND Name='n" +
                           std::to_string(number++) + "'"),
                      value);
        }
        EXPECT_EQ(cell("SELECT Value FROM GENERAL_CONFIG WHERE Schema='Net' AND UserContext=''"),
                  "dev");
        EXPECT_EQ(cell("SELECT Value FROM GENERAL_CONFIG WHERE Schema='#C'"), "comment");
        EXPECT_EQ(settings().size(), Values.size() + 3);
    }

    const std::vector<std::string> Values = {"plain", "it's",      "a,b",        "back\\slash",
                                             "end\\", "a\\,b",     "two\nlines", "cr\r",
                                             "",      "\xc3\xbc&", "#x",         ","};
};

}  // namespace

// A file of earlier software may hold passwords.
TEST_F(OldSettingsTest, EverySettingOfAnOldTableArrivesInItsContext) {
    const auto leftFile = onDevice("/Aurel_Deploy/DasMigrationValues.csv");
    for (const bool withContext : {false, true}) {
        SCOPED_TRACE(withContext ? "four columns" : "three columns");
        makeOld(withContext);
        writeFile(leftFile, "SipBaseSettings,base,SIPpassword,secret\n");
        EXPECT_TRUE(DASMigrator::migrateGeneralConfigTable(&service(), Columns));
        expectNew();
        EXPECT_FALSE(std::filesystem::exists(leftFile));
    }
}

// With the mark of the current user no later start would look at the contexts again.
TEST_F(OldSettingsTest, AFailedRewriteIsTriedAgainByTheNextStart) {
    const auto marks = [this] {
        return cell("SELECT COUNT(*) FROM GENERAL_CONFIG WHERE Name='MobilityCurrentUser'");
    };
    makeOld(true);
    change("CREATE VIEW GENERAL_CONFIG_COPY AS SELECT 1");
    DASMigrator::migrateToMobilityDatabase(&service());
    EXPECT_EQ(marks(), "0");
    change("DROP VIEW GENERAL_CONFIG_COPY");
    DASMigrator::migrateToMobilityDatabase(&service());
    EXPECT_EQ(marks(), "1");
    change("DELETE FROM GENERAL_CONFIG WHERE Name='MobilityCurrentUser'");
    expectNew();
}
