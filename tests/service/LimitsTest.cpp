// What a request may hold, how large its answer may be, and what happens when the process ends.

#include "AnswerLimit.h"
#include "Progress.h"
#include "Work.h"
#include "testkit/RecordingAdapter.h"

namespace {

class LimitsTest : public RecordedServiceTest {
protected:
    ~LimitsTest() override { Work::set(Work::State::GoesOn); }

    static std::string repeated(int count, const std::string& text) {
        std::string all;
        for (int i = 0; i < count; ++i) {
            all += text;
        }
        return all;
    }
    /// All rows of the tables that requests of this test reach.
    std::string everything() {
        std::string all;
        for (const char* table : {"FEATURE_KEYS", "GENERAL_CONFIG", "CallGroup", "PHONE_BOOK",
                                  "CALL_LOG", "CONVERSATIONS", "CODEC_SETTINGS"}) {
            for (const auto& row : sql(std::string("SELECT * FROM ") + table)) {
                for (const std::string& cell : row) {
                    all += cell + "|";
                }
            }
        }
        return all;
    }
    void makeTables() {
        for (const char* schema : {"FeatureKeys", "CallGroup", "PhoneBook", "CallLog",
                                   "Conversations", "CodecSettings", "SipBaseSettings"}) {
            (void)send(schema, "read_request");
        }
        (void)send("SipBaseSettings", "update_request", "<Kept>v</Kept>");
    }
};

}  // namespace

// 4 MB of empty calls took 2.6 GB, and 200,000 settings let all other clients wait for 14 s.
TEST_F(LimitsTest, ARequestBeyondALimitIsAFailureAndStoresNothing) {
    Log::setLevel(2);  // each statement of the others would be kept
    makeTables();
    const struct {
        const char* schema;
        const char* reason;
        std::string before;  ///< @p limit times @p each stand between the two
        std::string each;
        std::string after;
        int limit;
        const char* good;   ///< the answer at the limit; null where it is not tried
        const char* words;  ///< in the log
    } rows[] = {
        {"FeatureKeys", "update_request", "", "<Entry><Id>100</Id><Label>x</Label></Entry>", "",
         10000, nullptr, "more than 10000 Entry elements"},
        {"CallLogMissedCalls", "write_request", "", "<Entry/>", "", 10000, nullptr,
         "more than 10000 Entry elements"},
        {"Conversations", "write_request", "", "<Entry/>", "", 10000, nullptr,
         "more than 10000 Entry elements"},
        {"CodecSettings", "update_request", "", "<Entry/>", "", 10000, nullptr,
         "more than 10000 Entry elements"},
        {"SipBaseSettings", "update_request", "", "<x/>", "", 10000, "update_response",
         "more than 10000 items of settings"},
        {"SipBaseSettings", "delete_request", "", "<x/>", "", 900, "delete_response",
         "more than 900 names in a deletion"},
        {"CallLogMissedCalls", "delete_request", "", "<Entry><Surname>x</Surname></Entry>", "", 900,
         nullptr, "more than 900 names in a deletion"},
        {"FeatureKeys", "read_request", "<ResultCols>Id", " Label", "</ResultCols>", 899,
         "read_response", "more than 900 names in ResultCols"},
        {"SipBaseSettings", "read_request", "<ResultCols>Id", " Label", "</ResultCols>", 899,
         "read_response", "more than 900 names in ResultCols"},
        {"PhoneBook", "read_request", "<ResultCols>Office", " Email", "</ResultCols>", 899,
         "read_response", "more than 900 names in ResultCols"},
        {"FeatureKeys", "read_request", "", "<Label>x</Label>", "", 900, "read_response",
         "more than 900 values in one row"},
        {"PhoneBook", "update_request", "<Select>", "<Surname>x</Surname>",
         "</Select><Entry><Email>x</Email></Entry>", 900, nullptr,
         "more than 900 values in one row"},
        {"CallGroup", "read_request", "", "<CallGroup>1</CallGroup>", "", 900, "read_response",
         "more than 900 values in one row"},
        {"SipBaseSettings", "update_request", "<Context currentUser='", "x",
         "'><Item>v</Item></Context>", 4096, "update_response", "more than 4096 bytes in the name"},
        {"PhoneBook", "write_request", "", "<Entry><Surname>x</Surname></Entry>", "", 10000,
         "write_response", "more than 10000 Entry elements"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(std::string(row.schema) + row.reason + row.each);
        const auto sent = [&](int count) {
            return send(row.schema, row.reason, row.before + repeated(count, row.each) + row.after);
        };
        if (row.good != nullptr) {
            EXPECT_EQ(xml::reasonOf(sent(row.limit)), row.good);
        }
        const std::string before = everything();
        m_log.clear();
        EXPECT_EQ(sent(row.limit + 1), xml::message(row.schema, "failure"));
        EXPECT_TRUE(m_log.has(2, row.words));
        EXPECT_EQ(everything(), before);
    }
}

// Each new row was looked for in the whole table: 10,000 of them let all others wait for 12 s.
TEST_F(LimitsTest, ALargeBatchStoresWhatSmallOnesDo) {
    Log::setLevel(2);
    makeTables();
    std::vector<std::string> entries;
    for (const char* number : {"100", " 101", "102 ", "+103", "0104", "-7", "-0", "0", "100",
                               "00000000000000000000105", "x", "", "5000"}) {
        entries.push_back(xml::entry({{"Id", number}, {"Label", std::string("l") + number}}));
    }
    sql("DELETE FROM FEATURE_KEYS");
    sql("INSERT INTO FEATURE_KEYS (UserContext, Id) VALUES ('base', 100), ('base', 106), "
        "('base', 106), ('visitor', 100), ('visitor', 106), ('visitor', 106)");
    for (int i = 0; i < 600; ++i) {
        entries.push_back(xml::entry({{"Id", std::to_string(i)}, {"Label", std::to_string(i)}}));
    }
    const auto sent = [&](const char* user, std::size_t size) {
        for (std::size_t first = 0; first < entries.size(); first += size) {
            std::string some;
            for (std::size_t i = first; i < std::min(first + size, entries.size()); ++i) {
                some += entries[i];
            }
            EXPECT_EQ(
                xml::reasonOf(send("FeatureKeys", "update_request", xml::context(user, some))),
                "update_response");
        }
        return sql(
            std::string("SELECT Id, Label, typeof(Id) FROM FEATURE_KEYS WHERE UserContext = '") +
            user + "' ORDER BY rowid");
    };
    const Rows small = sent("visitor", 100);
    EXPECT_GT(small.size(), 600U);
    EXPECT_EQ(sent("base", entries.size()), small);
    EXPECT_EQ(xml::reasonOf(send("FeatureKeys", "update_request",
                                 repeated(600, "<Entry><Id>9999999999999999999</Id></Entry>"))),
              "failure");
}

// A batch failed at each of its rows before its table was made.
TEST_F(LimitsTest, WithoutATableABatchFailsOnce) {
    for (const char* schema : {"CallLogMissedCalls", "Conversations"}) {
        EXPECT_EQ(xml::reasonOf(send(schema, "write_request", repeated(50, "<Entry></Entry>"))),
                  "write_response");
    }
    EXPECT_LT(m_log.count("no such table: C"), 20);
    EXPECT_EQ(cell("SELECT count(*) FROM CALL_LOG"), "50");
    EXPECT_EQ(cell("SELECT count(*) FROM CONVERSATIONS"), "50");
}

// Calls that no row has room for took 400 bytes each.
TEST_F(LimitsTest, OnlyTheEntryWithTooManyCallsFails) {
    const std::string call = "<Item><Number>1</Number><TimeDate>t</TimeDate></Item>";
    const auto entry = [&](const char* name, int calls) {
        return "<Entry>" + xml::element("Surname", name) +
               xml::element("LogList", repeated(calls, call)) + "</Entry>";
    };
    EXPECT_EQ(xml::reasonOf(send(
                  "CallLogMissedCalls", "write_request",
                  entry("many", 30000) + entry("many", 11) + entry("ten", 10) + entry("one", 1))),
              "write_response");
    EXPECT_EQ(xml::valuesOf(send("CallLogMissedCalls", "read_request"), "Surname"), "ten|one");
    EXPECT_EQ(m_log.count("has no column named MornetTStimeFormat10"), 1);
    EXPECT_EQ(cell("SELECT Number0 || Number9 || TimeDate9 FROM CALL_LOG WHERE Surname = 'ten'"),
              "11t");
}

// A read of many rows had each of them in memory, and an answer of 100 MB was sent.
TEST_F(LimitsTest, AnAnswerThatIsTooLargeIsAFailure) {
    makeTables();
    sql("INSERT INTO CONVERSATIONS VALUES (1, 'base', '1', '1')");
    sql("INSERT INTO PHONE_BOOK (UserContext, UniqueID, Surname) VALUES ('base', 1, 'x')");
    sql("INSERT INTO CALL_LOG (UserContext, UniqueId, Surname) VALUES ('base', 1, 'x')");
    for (const char* schema :
         {"FeatureKeys", "CallGroup", "PhoneBook", "CallLog", "CallLogAndPhoneBook",
          "Conversations", "CodecSettings", "SipBaseSettings"}) {
        SCOPED_TRACE(schema);
        const std::string answer = send(schema, "read_request");
        const std::size_t size = xml::dataOf(answer).size();
        int calls = 0;
        const AnswerLimit enough(size, size / 2, [&] { ++calls; });
        if (std::string(schema) != "CallLogAndPhoneBook") {  // its call is one of a conversation
            EXPECT_GT(size, 0U);
            EXPECT_EQ(send(schema, "read_request"), answer);
            EXPECT_EQ(calls, 1);
            const AnswerLimit tooLittle(size / 2, size, {});
            EXPECT_EQ(send(schema, "read_request"), xml::message(schema, "failure"));
            EXPECT_TRUE(m_log.has(2, "is too large: ask for fewer columns or rows"));
        }
        EXPECT_EQ(send(schema, "read_request"), answer);
    }
}

// Rows come to the answer in pieces, and contexts reach across them.
TEST_F(LimitsTest, AnAnswerOfManyPiecesIsWhole) {
    makeTables();
    sql("WITH n(i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n WHERE i < 6000) INSERT INTO "
        "GENERAL_CONFIG SELECT 'SipBaseSettings', CASE WHEN i < 2000 THEN '' WHEN i < 4000 THEN "
        "'base' ELSE 'visitor' END, 'n' || i, hex(zeroblob(100)) || i FROM n");
    sql("WITH n(i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n WHERE i < 2000) INSERT INTO "
        "PHONE_BOOK (UserContext, Surname, Email) SELECT 'base', i, hex(zeroblob(100)) FROM n");
    std::string expected;
    std::string open;
    for (const auto& row : sql("SELECT UserContext, Name, Value FROM GENERAL_CONFIG WHERE Schema = "
                               "'SipBaseSettings' ORDER BY Schema, UserContext, Name")) {
        expected += row[0] != open && !open.empty() ? "</Context>" : "";
        expected += row[0] != open ? "<Context currentUser=\"" + row[0] + "\">" : "";
        open = row[0];
        expected += xml::element(row[1], row[2]);
    }
    EXPECT_TRUE(xml::dataOf(send("SipBaseSettings", "read_request")) == expected + "</Context>");
    const std::string contacts =
        xml::dataOf(send("PhoneBook", "read_request", xml::context("base", "")));
    EXPECT_EQ(contacts.find("<Context currentUser=\"base\"><Entry>"), 0U);
    EXPECT_EQ(contacts.find("</Entry></Context>"), contacts.size() - 18);
    EXPECT_EQ(contacts.find("</Context>"), contacts.size() - 10);
    EXPECT_EQ(std::count(contacts.begin(), contacts.end(), '<'), 2000 * 2 * 20 + 2);
}

// Each statement of a request waited five seconds for another process: a batch of five 25 s.
TEST(OneWaitTest, AThreadWaitsFiveSecondsInAll) {
    constexpr int threeSeconds = 3000000;
    EXPECT_TRUE(OneWait::takes(threeSeconds) && OneWait::takes(threeSeconds));
    {
        const OneWait wait;
        EXPECT_TRUE(OneWait::takes(threeSeconds));
        const OneWait inner;
        EXPECT_FALSE(OneWait::takes(threeSeconds));
        EXPECT_FALSE(OneWait::takes(1));
    }
    EXPECT_TRUE(OneWait::takes(threeSeconds));
}

TEST_F(LimitsTest, AnInterruptedRequestIsRolledBackAndWaitsForNoLock) {
    makeTables();
    writeFile(onDevice("/tmp/in.csv"), "base,,new\n");
    (void)send("PhoneBook", "write_request", xml::entry({{"Surname", "old"}}));
    const std::string before = everything();
    const std::string two = xml::entry({{"Surname", "a"}}) + xml::entry({{"Surname", "b"}});
    const std::function<void()> works[] = {
        [&] { (void)send("PhoneBook", "write_request", two); },
        [&] {
            (void)send("PhoneBook", "write_request", xml::entry({{"Surname", "a"}}));
        },
        [&] { (void)send("SipBaseSettings", "update_request", "<Kept>w</Kept><b>1</b>"); },
        [&] { (void)send("PhoneBook", "delete_request"); },
        [&] { service().importData("PhoneBook", base, "/tmp/in.csv"); },
        [&] { service().copyBaseDataToVisitor(); },
    };
    for (const auto& work : works) {
        SCOPED_TRACE(&work - works);
        // In the middle: before the first statement that changes a row.
        m_adapter->intercept = [](const std::string& statement) {
            if (statement.find("INSERT") == 0 || statement.find("UPDATE") == 0 ||
                statement.find("DELETE") == 0) {
                Work::set(Work::State::IsInterrupted);
            }
            return 0;
        };
        work();
        m_adapter->intercept = nullptr;
        EXPECT_TRUE(Work::isInterrupted());
        EXPECT_EQ(everything(), before);
        EXPECT_TRUE(lockIsFree(*m_adapter));
        const Blocker blocker(database());
        const auto begun = std::chrono::steady_clock::now();
        work();
        EXPECT_LT(std::chrono::steady_clock::now() - begun, std::chrono::seconds(2));
        Work::set(Work::State::GoesOn);
    }
    EXPECT_EQ(xml::reasonOf(send("PhoneBook", "write_request", two)), "write_response");
}

// SIGTERM during a long upgrade had no effect.
TEST_F(LimitsTest, AnUpgradeEndsBetweenTwoStepsAndTheNextStartBeginsAgain) {
    stop();
    const auto loadAnew = [&] {
        std::filesystem::remove(database());
        load("settings_3");
    };
    loadAnew();
    start();
    const auto all = [&] { return sql("SELECT * FROM GENERAL_CONFIG ORDER BY 1, 2, 3, 4"); };
    const Rows upgraded = all();
    stop();
    loadAnew();
    Progress::setSink([](const Progress::Report& report) {
        if (report.done == 20) {
            Work::set(Work::State::Ends);
        }
    });
    start();
    Progress::setSink({});
    EXPECT_TRUE(m_log.has(2, "The upgrade ends before step 22: the process is to end"));
    EXPECT_EQ(xml::reasonOf(send("SipBaseSettings", "read_request")), "failure");
    stop();
    EXPECT_TRUE(std::filesystem::exists(database().string() + ".before-upgrade"));
    Work::set(Work::State::GoesOn);
    start();
    EXPECT_TRUE(m_log.has(2, "An upgrade was cut off: the database is as it was before"));
    EXPECT_EQ(all(), upgraded);
}
