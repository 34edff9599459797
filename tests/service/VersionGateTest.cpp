// The gate to other software versions: what an older release finds, and what comes back after it.

#include "testkit/ServiceTest.h"

namespace {

class VersionGateTest : public ServiceTest {
protected:
    void SetUp() override {
        ServiceTest::SetUp();
        (void)send("PhoneBook", "read_request");
        // A start under the base user wipes the visitor's contacts.
        sql("UPDATE GENERAL_CONFIG SET Value = 'visitor' WHERE Name = 'MobilityCurrentUser'");
        sql("INSERT OR REPLACE INTO GENERAL_CONFIG VALUES "
            "('MobilitySettings', '', 'ActiveMobilityModeIsBasic', 'false')");
        sql("CREATE INDEX Office_INDEX ON PHONE_BOOK ( Office )");
    }
    /// Contacts of both users, the last one deleted, and a door opener.
    void fill() {
        sql("INSERT INTO PHONE_BOOK (UserContext, UniqueID, Surname, Office, SpeedDialID) VALUES "
            "('base', 3, 'O''Neil, \\', '1', '7'), ('visitor', 5, 'two\nlines', NULL, ''), "
            "('base', 90, 'gone', '2', '')");
        sql("DELETE FROM PHONE_BOOK WHERE UniqueID = 90");
        sql("INSERT INTO GENERAL_CONFIG VALUES "
            "('AcmsSettings', '', 'DoorOpener3Fpkconfirmation', 'a,''b'), "
            "('AcmsSettings', '', 'DoorOpener1Phonenumber', '42'), "
            "('AcmsSettings', '', 'DoorOpener1PhoneNumber', 'old')");
    }
    void goTo(int current, int target, const char* version) {
        service().checkDatabaseNeedsChange(static_cast<eSwType>(current),
                                           static_cast<eSwType>(target), version);
    }
    bool hasSpeedDial() const {
        return cell(
                   "SELECT COUNT(*) FROM pragma_table_info('PHONE_BOOK') WHERE "
                   "name = 'SpeedDialID'") == "1";
    }
    Rows contacts() const {
        return sql("SELECT UserContext, UniqueID, Surname, Office FROM PHONE_BOOK");
    }
    Rows doorOpeners() const {
        return sql(
            "SELECT Name, Value FROM GENERAL_CONFIG WHERE Name LIKE 'DoorOpener%' AND "
            "UserContext = '' ORDER BY 1");
    }
    std::string numbering() const {
        return cell("SELECT seq FROM sqlite_sequence WHERE name = 'PHONE_BOOK'");
    }
    std::string officeIndex() const {
        return cell(
            "SELECT COUNT(*) FROM sqlite_master WHERE tbl_name = 'PHONE_BOOK' AND "
            "name = 'Office_INDEX'");
    }
};

const Rows DoorOpenersOfToday = {{"DoorOpener1PhoneNumber", "old"},
                                 {"DoorOpener1Phonenumber", "42"},
                                 {"DoorOpener3Fpkconfirmation", "a,'b"}};
const Rows DoorOpenersOfBoth = {{"DoorOpener1PhoneNumber", "42"},
                                {"DoorOpener1Phonenumber", "42"},
                                {"DoorOpener3FPKConfirmation", "a,'b"},
                                {"DoorOpener3Fpkconfirmation", "a,'b"}};

}  // namespace

TEST_F(VersionGateTest, AnOlderReleaseReadsEverythingAndANewStartBringsItBack) {
    fill();
    const Rows before = contacts();
    const struct {
        int current;
        int target;
        const char* version;
        bool speedDialStays;
        bool namesStay;
    } rows[] = {{0, 0, "V1 R1.0.0", true, true},     {1, 1, "V1 R8.7.112", true, true},
                {1, 1, "V1 R8.7.111", true, false},  {1, 1, "V1 R8.2.126", true, false},
                {1, 1, "V1 R8.2.125", false, false}, {2, 2, "V1 R5.6.158", true, true},
                {2, 2, "V1 R5.6.157", true, false},  {2, 2, "V1 R5.2.000", false, false},
                {1, 2, "V1 R5.6.158", false, true},  {2, 1, "V1 R8.2.125", true, false},
                {1, 0, "V1 R8.2.125", false, true},  {0, 2, "V1 R5.2.000", true, false},
                {1, 1, "next release", false, false}};
    for (const auto& row : rows) {
        SCOPED_TRACE(std::to_string(row.current) + " " + std::to_string(row.target) + " " +
                     row.version);
        sql("DELETE FROM GENERAL_CONFIG WHERE Name LIKE 'DoorOpener%'; DELETE FROM PHONE_BOOK");
        fill();
        goTo(row.current, row.target, row.version);
        EXPECT_EQ(hasSpeedDial(), row.speedDialStays);
        EXPECT_EQ(doorOpeners(), row.namesStay ? DoorOpenersOfToday : DoorOpenersOfBoth);
        for (const char* place : {"downgraded", "upgraded again"}) {
            SCOPED_TRACE(place);
            EXPECT_EQ(contacts(), before);
            EXPECT_EQ(numbering(), "90");
            EXPECT_EQ(officeIndex(), "1");
            EXPECT_EQ(cell("SELECT COUNT(*) FROM sqlite_master WHERE name LIKE '%OLD%'"), "0");
            start();
        }
        EXPECT_TRUE(hasSpeedDial());
        EXPECT_EQ(doorOpeners(), row.namesStay ? DoorOpenersOfToday : DoorOpenersOfBoth);
    }
}

TEST_F(VersionGateTest, ABookWithoutContactsGoesDownAndUpToo) {
    goTo(2, 2, "V1 R5.2.000");
    EXPECT_FALSE(hasSpeedDial());
    start();
    EXPECT_TRUE(hasSpeedDial());
    EXPECT_EQ(contacts(), Rows());
}

// The book was empty, and its rows stood in PHONE_BOOK_OLD, for good.
TEST_F(VersionGateTest, ABookThatCanNotBeCarriedWholeStaysAsItIs) {
    fill();
    const struct {
        const char* name;
        const char* sql;
        const char* line;
    } rows[] = {
        {"the other name is taken", "CREATE TABLE PHONE_BOOK_OLD (x TEXT)",
         "ALTER TABLE PHONE_BOOK failed"},
        {"a surname is NULL",
         "DROP TABLE PHONE_BOOK_OLD; ALTER TABLE PHONE_BOOK ADD COLUMN Spare; ALTER TABLE "
         "PHONE_BOOK "
         "DROP COLUMN Surname; ALTER TABLE PHONE_BOOK RENAME COLUMN Spare TO Surname",
         "The contacts can't be copied, the table PHONE_BOOK stays as it was"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        sql(row.sql);
        service().constructorActions();  // a connection that knows the tables
        const Rows schema = sql("SELECT name, sql FROM sqlite_master ORDER BY name");
        const Rows before = sql("SELECT * FROM PHONE_BOOK");
        ASSERT_EQ(before.size(), 2U);
        goTo(1, 1, "V1 R8.2.125");
        EXPECT_EQ(sql("SELECT * FROM PHONE_BOOK"), before);
        EXPECT_EQ(sql("SELECT name, sql FROM sqlite_master ORDER BY name"), schema);
        EXPECT_TRUE(m_log.has(2, row.line));
        EXPECT_EQ(doorOpeners(), DoorOpenersOfBoth) << "the other rule does not wait for the first";
    }
}

TEST(VersionTextTest, VersionsAreComparedAsOneNumber) {
    const struct {
        const char* first;
        const char* second;
        bool higher;
        bool higherOrEqual;
    } rows[] = {
        {"V1 R8.2.126", "V1 R8.2.125", true, true}, {"V1 R8.2.125", "V1 R8.2.125", false, true},
        {"V1 R1.0.256", "V1 R1.1.0", false, true},  {"", "V0 R0.0.1", false, false},
        {"V1", "V1 R0.0.1", false, false},
    };
    LogCapture log;
    for (const auto& row : rows) {
        EXPECT_EQ(DataAccessService::isNewVersionHigher(row.first, row.second, false), row.higher)
            << row.first;
        EXPECT_EQ(DataAccessService::isNewVersionHigher(row.first, row.second, true),
                  row.higherOrEqual)
            << row.first;
    }
    EXPECT_TRUE(log.has(2, "getVersionElements sscanf returned with error code[-1]"));
    EXPECT_TRUE(log.has(2, "getVersionElements sscanf did not parse expected number of arguments"));
}
