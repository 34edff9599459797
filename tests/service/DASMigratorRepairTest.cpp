#include <ctime>

#include "calls/CallLogRow.h"
#include "database/DatabaseAdapter.h"
#include "testkit/ServiceTest.h"
#include "upgrade/DASMigrator.h"

namespace {

using namespace CallLogColumns;

/// A call: number and time, nothing else.
struct Call {
    const char* number;
    const char* time;
};

class RepairTest : public ServiceTest {
protected:
    void SetUp() override {
        ServiceTest::SetUp();
        send("CallLog", "read_request");
        send("Conversations", "read_request");
        send("PhoneBook", "write_request", xml::entry({{"Surname", "keeper"}}));
    }

    void store(const char* id, const char* entryId, const std::vector<Call>& calls,
               const std::string& surname = "s") {
        CallLogRow row;
        row.userContext = "base";
        row.uniqueId = id;
        row.category = "Missed";
        row.entryId = entryId;
        row.surname = surname;
        for (const Call& call : calls) {
            CallLogRecord& record = row.records.emplace_back();
            record[Number] = call.number;
            record[TimeDate] = call.time;
        }
        row.updateDb(&service());
    }
    /// Each row as "id:number@time,...;", times from their day on.
    std::string calls() {
        std::string text;
        for (const auto& cells : sql("SELECT * FROM CALL_LOG ORDER BY UniqueId")) {
            text += cells[UniqueId] + ":";
            for (std::size_t place = 0; place < Places; ++place) {
                const std::string& number = cells[position(Number, place)];
                const std::string& time = cells[position(TimeDate, place)];
                if (!number.empty() || !time.empty()) {
                    text += number + "@" + (time.size() > 9 ? time.substr(8, 2) : time) + ",";
                }
            }
            text += ";";
        }
        return text;
    }
    bool hasConversations() {
        return cell("SELECT COUNT(*) FROM sqlite_master WHERE name = 'CONVERSATIONS'") == "1";
    }
};

const char* const Day1 = "2014-03-01T09:00:00";
const char* const Day2 = "2014-03-02T09:00:00";
const char* const Day3 = "2014-03-03T09:00:00";

}  // namespace

TEST_F(RepairTest, ARowKeepsTheCallsOfOneNumber) {
    const struct {
        const char* name;
        const char* entryId;
        std::vector<Call> calls;
        const char* after;
        int treated;
    } rows[] = {
        {"one number", "E", {{"1", Day2}, {"1", Day1}}, "7:1@02,1@01,;", 0},
        {"two numbers", "E", {{"1", Day3}, {"2", Day2}, {"1", Day1}}, "7:1@03,1@01,;8:2@02,;", 1},
        {"blank first", "E", {{"", Day2}, {"1", Day1}}, "7:@02,1@01,;", 1},
        {"of another log", "UC1", {{"1", Day2}, {"2", Day1}}, "7:1@02,2@01,;", 0},
        {"letter later", "xU", {{"1", Day2}, {"2", Day1}}, "7:2@01,;8:1@02,;", 1},
        {"a time that can't be read", "E", {{"1", Day2}, {"2", "never"}}, "7:1@02,2@never,;", 1},
        {"one time, unread", "E", {{"1", "never"}, {"2", ""}}, "7:1@never,2@,;", 1},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        sql("DELETE FROM CALL_LOG");
        sql("UPDATE sqlite_sequence SET seq = 7 WHERE name = 'CALL_LOG'");
        store("7", row.entryId, row.calls);
        send("Conversations", "read_request");
        EXPECT_EQ(DASMigrator::callLogTableChecker(&service()), row.treated);
        EXPECT_EQ(calls(), row.after);
    }
}

TEST_F(RepairTest, ARepairedLogIsLeftAloneAndOnlyARepairDropsConversations) {
    store("1", "E", {{"1", Day3}, {"2", Day2}});
    EXPECT_EQ(DASMigrator::callLogTableChecker(&service()), 1);
    EXPECT_FALSE(hasConversations());
    EXPECT_EQ(cell("SELECT EntryId FROM CALL_LOG WHERE UniqueId = 2"),
              std::string(Day3) + "00000001");
    send("Conversations", "read_request");
    const std::string once = calls();
    EXPECT_EQ(DASMigrator::callLogTableChecker(&service()), 0);
    EXPECT_EQ(calls(), once);
    EXPECT_TRUE(hasConversations());
}

TEST_F(RepairTest, AQuoteInARowTouchesNoOtherRow) {
    store("1", "E", {{"1", Day1}});
    sql("INSERT INTO CALL_LOG (UserContext, UniqueId, Category, EntryId, Surname, Number0, "
        "TimeDate0, Number1, TimeDate1) VALUES ('x'', ''1'', ''hit'', ''', 2, 'Missed', 'E', "
        "'); DROP TABLE CALL_LOG; --', '1', '" +
        std::string(Day2) + "', '2', '" + Day1 + "')");
    DASMigrator::callLogTableChecker(&service());
    EXPECT_EQ(cell("SELECT Category || Number0 FROM CALL_LOG WHERE UniqueId = 1"), "Missed1");
    EXPECT_EQ(cell("SELECT Number0 || Number1 FROM CALL_LOG WHERE UniqueId = 2"), "12");
}

TEST_F(RepairTest, NoCallLeavesARowUnlessItArrivesInAnother) {
    store("1", "E", {{"1", Day1}, {"2", Day2}, {"3", Day3}});
    store("2", "E", {{"9", Day1}, {"9", Day2}, {"3", Day2}});
    const std::string before = calls();
    sql("CREATE TRIGGER refusal BEFORE INSERT ON CALL_LOG WHEN NEW.Number0 = '2' BEGIN SELECT "
        "RAISE(FAIL, 'refused'); END");
    DASMigrator::callLogTableChecker(&service());
    EXPECT_EQ(calls(), before);
    EXPECT_TRUE(m_log.has(2, "can't be split"));
    sql("DROP TRIGGER refusal");
    sql("UPDATE CALL_LOG SET ResolvedNumber1 = 'a quote''s call'");
    DASMigrator::callLogTableChecker(&service());
    EXPECT_EQ(calls(), before + "3:3@03,3@02,;") << "a call that breaks its statement stays";
}

TEST_F(RepairTest, TheRefusedStatementFindsNoDoubles) {
    store("1", "E", {{"1", Day1}});
    store("2", "E", {{"1", Day2}});
    DASMigrator::DuplicateRows duplicates;
    DASMigrator::readCallLogRowsWithDuplicateRowsPerCategory(&service(), duplicates);
    EXPECT_TRUE(duplicates.empty());
}

TEST_F(RepairTest, DoublesAreJoinedIntoTheNewestRow) {
    store("1", "E", {{"1", Day1}, {"1", Day2}});
    store("2", "E", {{"1", Day3}, {"1", Day2}});
    const Rows rows = sql("SELECT * FROM CALL_LOG ORDER BY UniqueId");
    DASMigrator::DuplicateRows duplicates;
    for (auto row = rows.begin(); row != rows.end(); ++row) {
        duplicates["1"]["Missed"].emplace_back(row);
    }
    const LogCapture log;
    DASMigrator::normalizeDuplicateRowData(duplicates);
    EXPECT_TRUE(log.has("NORMALIZING 2 duplicate rows"));
    const auto ids = DASMigrator::consolidateDuplicateRows(duplicates);
    DASMigrator::commitConsolidatedRowData(&service(), duplicates);
    DASMigrator::removeRows(&service(), ids);
    EXPECT_EQ(ids, std::vector<std::string>{"1"});
    EXPECT_EQ(calls(), "2:1@03,1@02,1@01,;") << "a call that both rows had is there once";
    store("3", "E", {{"1", Day1}});
    auto& doubles =
        duplicates["1"]["Missed"] = {CallLogRow(rows.begin()), CallLogRow(rows.begin())};
    doubles[1].records[0][ResolvedNumber] = "a quote's call";
    EXPECT_TRUE(DASMigrator::consolidateDuplicateRows(duplicates).empty());
    EXPECT_TRUE(doubles.empty()) << "what can't be stored must not replace anything";
}

TEST_F(RepairTest, AlikeContactsLeaveTheNewestAndConversationsGo) {
    sql("INSERT INTO PHONE_BOOK (UserContext, Surname, Firstname, Office, Office2, Mobile, "
        "Private, "
        "Picture) VALUES ('base','a','b','1','','','',''), ('base','a','b','1','','','',''), "
        "('base','a','b','1','9','','','')");
    EXPECT_GT(DASMigrator::readPhoneBookDuplicateRows(&service()), 0);
    DASMigrator::callLogTableChecker(&service());
    EXPECT_EQ(cell("SELECT group_concat(UniqueID) FROM PHONE_BOOK WHERE Surname = 'a'"), "3,4");
    EXPECT_FALSE(hasConversations());
}

// A start over 50,000 contacts that differ in their second number alone took two minutes.
TEST_F(RepairTest, TheLookForDoubledContactsTakesTimeByTheirNumber) {
    double seconds[2] = {};
    for (const int contacts : {1000, 4000}) {
        sql("DELETE FROM PHONE_BOOK; WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM "
            "n "
            "WHERE i < " +
            std::to_string(contacts) +
            ") INSERT INTO PHONE_BOOK (UserContext, Surname, Office, Office2) SELECT 'base', i / "
            "2, "
            "'', i FROM n");
        double& fastest = seconds[contacts == 4000];
        for (int round = 0; round < 3; ++round) {
            const std::clock_t begin = std::clock();
            EXPECT_EQ(DASMigrator::readPhoneBookDuplicateRows(&service()), contacts);
            const double taken = static_cast<double>(std::clock() - begin);
            fastest = round == 0 ? taken : std::min(fastest, taken);
        }
    }
    EXPECT_LT(seconds[1], 9 * seconds[0]) << "four times the contacts";
}

TEST_F(RepairTest, ConversationsThatNameNothingAreCleanedUp) {
    store("1", "E", {{"1", Day1}});
    store("2", "UC_2", {{"1", Day1}});
    sql("INSERT INTO CONVERSATIONS (UserContext, PhonebookId, CallLogId) VALUES ('base','1','1'), "
        "('base','1','99'), ('base','99','1'), ('base','1','2')");
    DASMigrator::conversationsTableCleanup(&service());
    EXPECT_EQ(cell("SELECT group_concat(PhonebookId || CallLogId) FROM CONVERSATIONS"), "11");
}

TEST_F(RepairTest, SignsWithoutADigitGoAndNumbersKeepTheirs) {
    sql("UPDATE PHONE_BOOK SET Office = '+', Office2 = '+49', Mobile = '++ext', Private = 'x'");
    DASMigrator::phonebookTableCleanup(&service());
    EXPECT_EQ(cell("SELECT Office || ',' || Office2 || ',' || Mobile || ',' || Private FROM "
                   "PHONE_BOOK"),
              ",+49,ext,x");
    m_log.clear();
    DASMigrator::phonebookTableCleanup(&service());
    EXPECT_FALSE(m_log.has("UPDATE"));
    EXPECT_EQ(DASMigrator::buildPhonebookTableCleanupQuery("C", "+").find(
                  "UPDATE PHONE_BOOK SET C = REPLACE(C, '+', '') WHERE C NOT LIKE '%0%' AND C NOT"),
              0U);
}

// Earlier software left them there when it could not copy them, and new ones came to the book.
TEST_F(RepairTest, ContactsUnderTheOtherNameJoinThoseOfTheBook) {
    sql("CREATE TABLE PHONE_BOOK_OLD AS SELECT * FROM PHONE_BOOK; UPDATE PHONE_BOOK_OLD SET "
        "Surname = 'older'; INSERT INTO PHONE_BOOK_OLD (Surname, Office) VALUES (NULL, '7')");
    service().constructorActions();  // a connection that knows the table
    DASMigrator::migratePhoneBookTable(&service());
    EXPECT_EQ(cell("SELECT group_concat(UniqueID || Surname || UserContext) FROM PHONE_BOOK"),
              "1keeperbase,2olderbase,3base");
    EXPECT_EQ(cell("SELECT COUNT(*) FROM sqlite_master WHERE name = 'PHONE_BOOK_OLD'"), "0");
}

TEST_F(RepairTest, ABookOfMoreColumnsIsMadeAnewAndOneOfFewerStays) {
    ASSERT_TRUE(service().createPhonenumberIndices());
    sql("UPDATE sqlite_sequence SET seq = 40 WHERE name = 'PHONE_BOOK'");
    DatabaseAdapter& adapter = *service().getAdapter();
    sql("INSERT INTO PHONE_BOOK (UniqueID, Surname) VALUES (2, 'b'), (3, 'c')");
    ASSERT_EQ(adapter.executeNonQuery("ALTER TABLE PHONE_BOOK ADD COLUMN Extra TEXT"), 0);
    ASSERT_EQ(adapter.executeNonQuery("UPDATE PHONE_BOOK SET Extra = NULLIF(UniqueID - 1, 0)"), 0);
    DASMigrator::checkValidityOfPhoneBookTable(&service());
    EXPECT_TRUE(m_log.has(2, "PHONE_BOOK table has unexpected column[Extra]"));
    EXPECT_TRUE(m_log.has(2, "The column Extra of PHONE_BOOK is given up with its values: 2"));
    sql("DELETE FROM PHONE_BOOK WHERE UniqueID > 1");
    EXPECT_EQ(adapter.getColumnCount("SELECT * FROM PHONE_BOOK;"), 20);
    EXPECT_EQ(cell("SELECT Surname FROM PHONE_BOOK"), "keeper");
    EXPECT_TRUE(adapter.indexExists("PHONE_BOOK", "Office_INDEX"));
    EXPECT_EQ(cell("SELECT seq FROM sqlite_sequence WHERE name = 'PHONE_BOOK'"), "40");
    EXPECT_TRUE(DASMigrator::rebuildPhoneBook(&service(), {"SpeedDialID"}));
    m_log.clear();
    DASMigrator::checkValidityOfPhoneBookTable(&service());
    EXPECT_TRUE(m_log.has("there is less than expected amount of data"));
    EXPECT_EQ(adapter.getColumnCount("SELECT * FROM PHONE_BOOK;"), 19);
    EXPECT_EQ(cell("SELECT Surname FROM PHONE_BOOK"), "keeper");
    sql("DELETE FROM PHONE_BOOK");
    EXPECT_TRUE(DASMigrator::rebuildPhoneBook(&service(), {}));
    EXPECT_EQ(cell("SELECT seq FROM sqlite_sequence WHERE name = 'PHONE_BOOK'"), "40") << "empty";
}
