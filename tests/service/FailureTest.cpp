// Requests while the database refuses, and requests from many threads.

#include <stdexcept>
#include <thread>

#include "testkit/RecordingAdapter.h"
#include "upgrade/DASMigrator.h"

namespace {

class FailureTest : public RecordedServiceTest {
protected:
    void SetUp() override {
        RecordedServiceTest::SetUp();
        (void)send("FeatureKeys", "read_request");
    }

    static std::string key(const std::string& id, const std::string& label) {
        return xml::entry({{"Id", id}, {"Label", label}});
    }
    std::string labels() {
        return cell("SELECT ifnull(group_concat(Label, ''), '') FROM FEATURE_KEYS");
    }
    void arm(const char* pragma) { EXPECT_EQ(m_adapter->executeNonQuery(pragma), 0); }
};

using ThreadsTest = ServiceTest;

}  // namespace

TEST_F(FailureTest, AFailedWriteIsAnsweredAndLeavesTheLockFree) {
    const std::string one = key("100", "a");
    const std::string two = key("100", "a") + key("101", "b");
    struct {
        const char* name;
        std::function<void()> arm;
        std::string body;
        bool done;
        const char* labels;
        const char* log;
    } const rows[] = {
        {"no failure", [] {}, two, true, "ab", "returned 0"},
        {"a full disk", [&] { arm("PRAGMA max_page_count=1;"); },
         key("100", std::string(100000, 'x')), false, "",
         "SQLite: ERROR 'database or disk is full' handling request 'UPDATE FEATURE_KEYS"},
        {"read-only", [&] { arm("PRAGMA query_only=1;"); }, one, false, "",
         "SQLite: ERROR 'attempt to write a readonly database' handling request 'UPDATE"},
        {"insert", [&] { m_adapter->intercept = failing("INSERT", 1, SQLITE_CANTOPEN); },
         key("77", "x"), false, "", "updateRequestHelper() DatabaseAdapter::insert() returned 3"},
        {"last of two", [&] { m_adapter->intercept = failing("UPDATE", 2, SQLITE_FULL); }, two,
         false, "a", "DatabaseAdapter::update() returned 13"},
        {"begin", [&] { m_adapter->intercept = failing("BEGIN", 1, SQLITE_BUSY); }, two, false, "",
         "cannot commit - no transaction is active"},
        {"end", [&] { m_adapter->intercept = failing("END", 1, SQLITE_FULL); }, two, false, "", ""},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        service().constructorActions();  // a connection of its own
        sql("UPDATE FEATURE_KEYS SET Label = ''");
        m_log.clear();
        row.arm();
        EXPECT_EQ(send("FeatureKeys", "update_request", row.body),
                  xml::message("FeatureKeys", row.done ? "update_response" : "failure"));
        EXPECT_EQ(labels(), row.labels);
        EXPECT_TRUE(m_log.has(row.log));
        EXPECT_TRUE(lockIsFree(*m_adapter));
    }
}

// A database that another process held for long got its default rows twice.
TEST_F(FailureTest, ATableThatCannotBeCountedIsNotFilledAgain) {
    for (const bool freedBehindTheCount : {false, true}) {
        waitForNobody(*m_adapter);
        auto blocker = std::make_unique<Blocker>(database());
        m_adapter->intercept = [&](const std::string& statement) {
            if (statement.find("CREATE") != 0) {
                return SQLITE_OK;
            }
            if (freedBehindTheCount) {
                blocker.reset();
            }
            return SQLITE_BUSY;
        };
        EXPECT_EQ(send("FeatureKeys", "read_request", "<Id>77</Id>"),
                  xml::message("FeatureKeys", freedBehindTheCount ? "read_response" : "failure"));
        EXPECT_TRUE(m_log.has(3, "'database is locked' handling request 'SELECT COUNT(*) FROM"));
        blocker.reset();
        m_adapter->intercept = {};
        EXPECT_EQ(cell("SELECT COUNT(*) FROM FEATURE_KEYS WHERE UserContext = 'base'"), "177");
        EXPECT_NE(send("FeatureKeys", "read_request").find("<Id>1017</Id>"), std::string::npos);
    }
}

// Its one row would keep the others out for good.
TEST_F(FailureTest, ATableThatMayBeEmptyTakesNoRow) {
    sql("DELETE FROM FEATURE_KEYS");
    waitForNobody(*m_adapter);
    auto blocker = std::make_unique<Blocker>(database());
    m_adapter->intercept = [&](const std::string& statement) {
        const bool isCreate = statement.find("CREATE") == 0;
        if (isCreate) {
            blocker.reset();
        }
        return isCreate ? SQLITE_BUSY : SQLITE_OK;
    };
    EXPECT_EQ(send("FeatureKeys", "update_request", key("100", "a")),
              xml::message("FeatureKeys", "failure"));
    EXPECT_EQ(cell("SELECT COUNT(*) FROM FEATURE_KEYS"), "0");
}

// It waited for another process at each entry, and then ran once more.
TEST_F(FailureTest, ABatchThatCannotBeginWaitsOnceAndStoresNothing) {
    const std::string calls = xml::entry({{"EntryId", "1"}}) + xml::entry({{"EntryId", "2"}});
    const std::string ids = xml::entry({{"Id", "30"}}) + xml::entry({{"Id", "31"}});
    struct {
        const char* schema;
        const char* reason;
        std::string body;
    } const rows[] = {
        {"FeatureKeys", "update_request", key("100", "a") + key("101", "b")},
        {"PhoneBook", "write_request",
         xml::entry({{"Surname", "a"}}) + xml::entry({{"Surname", "b"}})},
        {"CallLog", "write_request", calls},
        {"CallLog", "delete_request", calls},
        {"Conversations", "write_request",
         xml::entry({{"CallLogId", "1"}}) + xml::entry({{"CallLogId", "2"}})},
        {"CallGroup", "reset_request", ""},
        {"Certificates", "write_request", ids},
        {"StimulusKeySettings", "update_request", ids},
        {"AudioSettings", "update_request", "<One>1</One><Two>2</Two>"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.schema);
        (void)send(row.schema, "read_request");
        m_adapter->statements.clear();
        m_adapter->intercept = failing("BEGIN IMMEDIATE", 1, SQLITE_BUSY);
        EXPECT_EQ(send(row.schema, row.reason, row.body), xml::message(row.schema, "failure"));
        m_adapter->intercept = {};
        // The end of the transaction that never began, and nothing in between.
        EXPECT_EQ(m_adapter->statements,
                  (std::vector<std::string>{"BEGIN IMMEDIATE TRANSACTION;", "END TRANSACTION;"}));
    }
}

// A power cut between the two left what no later start completes.
TEST_F(FailureTest, NobodySeesHalfOfWhatBelongsTogether) {
    writeFile(onDevice("/tmp/in.csv"), "base,,new\n");
    (void)send("PhoneBook", "write_request", xml::entry({{"Surname", "old"}}));
    const struct {
        const char* name;
        const char* before;
        std::function<void()> work;
        const char* last;  ///< statement before which another connection looks
        const char* seen;
        const char* expected;
    } rows[] = {
        {"groups and their table", "DROP TABLE IF EXISTS CallGroup",
         [&] { (void)send("CallGroup", "read_request"); }, "INTO CallGroup",
         "SELECT COUNT(*) FROM sqlite_master WHERE name = 'CallGroup'", "0"},
        {"settings of 802.1X", "DELETE FROM GENERAL_CONFIG WHERE Schema = 'Dot1xSettings'",
         [&] { DASMigrator::migrateDot1xSettings(&service()); }, "RadiusServerValidation",
         "SELECT COUNT(*) FROM GENERAL_CONFIG WHERE Schema = 'Dot1xSettings'", "0"},
        {"contacts and those in their place", "SELECT 1",
         [&] { service().importData("PhoneBook", base, "/tmp/in.csv"); }, "INTO PHONE_BOOK",
         "SELECT Surname FROM PHONE_BOOK", "old"},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(m_adapter->executeNonQuery(row.before), 0);
        std::string seen;
        m_adapter->intercept = [&](const std::string& statement) {
            if (statement.find(row.last) != std::string::npos) {
                seen = cell(row.seen);
            }
            return 0;
        };
        row.work();
        m_adapter->intercept = nullptr;
        EXPECT_EQ(seen, row.expected) << row.name;
    }
}

// The transaction stayed open: the next write was answered as done and was not on the disk.
TEST_F(FailureTest, WhatCannotBeCommittedIsTakenBack) {
    waitForNobody(*m_adapter);
    sqlite3* reader = nullptr;
    sqlite3_stmt* reading = nullptr;
    EXPECT_EQ(sqlite3_open(database().c_str(), &reader), SQLITE_OK);
    EXPECT_EQ(sqlite3_prepare_v2(reader, "SELECT * FROM FEATURE_KEYS", -1, &reading, nullptr),
              SQLITE_OK);
    EXPECT_EQ(sqlite3_step(reading), SQLITE_ROW);
    EXPECT_EQ(send("FeatureKeys", "update_request", key("100", "a") + key("101", "b")),
              xml::message("FeatureKeys", "failure"));
    sqlite3_finalize(reading);
    EXPECT_EQ(send("FeatureKeys", "update_request", key("102", "c")),
              xml::message("FeatureKeys", "update_response"));
    EXPECT_EQ(labels(), "c");
    EXPECT_EQ(sqlite3_close(reader), SQLITE_OK);
}

// The lock stayed taken, or the transaction open: later writes were answered as done and were lost.
TEST_F(FailureTest, TransactionsEndWhereMemoryIsShort) {
    struct {
        const char* statement;
        const char* labels;
    } const rows[] = {{"BEGIN", ""}, {"END", ""}, {"ROLLBACK", ""}};
    for (const auto& row : rows) {
        for (const bool throws : {false, true}) {
            SCOPED_TRACE(row.statement);
            sql("UPDATE FEATURE_KEYS SET Label = ''");
            m_adapter->intercept = [&](const std::string& statement) {
                const bool isHit = statement.find(row.statement) == 0;
                if (isHit && throws) {
                    throw std::bad_alloc();
                }
                return isHit || (statement.find("END") == 0 && *row.statement != 'B') ? SQLITE_NOMEM
                                                                                      : SQLITE_OK;
            };
            EXPECT_EQ(send("FeatureKeys", "update_request", key("100", "a") + key("101", "b")),
                      xml::message("FeatureKeys", "failure"));
            m_adapter->intercept = {};
            EXPECT_TRUE(lockIsFree(*m_adapter));
            EXPECT_EQ(labels(), row.labels);
            EXPECT_EQ(send("FeatureKeys", "update_request", key("102", "c")),
                      xml::message("FeatureKeys", "update_response"));
            EXPECT_EQ(labels(), std::string(row.labels) + "c");
        }
    }
}

// What a full disk makes SQLite roll back is the batch so far; the entries after it are stored.
TEST_F(FailureTest, ABatchThatMeetsAFullDiskFailsAndKeepsItsLastEntries) {
    arm("PRAGMA max_page_count=1;");
    EXPECT_EQ(send("FeatureKeys", "update_request",
                   key("100", "a") + key("101", std::string(100000, 'x')) + key("102", "c")),
              xml::message("FeatureKeys", "failure"));
    EXPECT_EQ(labels(), "c");
}

// The table stayed with some of its rows for good, or with the one row of the request.
TEST_F(FailureTest, ATableGetsItsDefaultRowsTogetherOrByTheNextRequest) {
    struct {
        const char* schema;
        const char* table;
        const char* all;
        std::string row;
    } const rows[] = {
        {"FeatureKeys", "FEATURE_KEYS", "354", "<Id>100</Id><Label>x</Label>"},
        {"CodecSettings", "CODEC_SETTINGS", "4", "<Id>1</Id><CodecRank>7</CodecRank>"},
        {"HeadsetPriorities", "HEADSET_PRIORITIES", "3", "<Id>1</Id><Rank>7</Rank>"},
        {"StimulusKeySettings", "STIMULUS_KEY_SETTINGS", "362",
         "<Id>30</Id><SendUrlPort>7</SendUrlPort>"}};
    for (const auto& [schema, table, all, row] : rows) {
        (void)send(schema, "read_request");
        const std::string count = std::string("SELECT COUNT(*) FROM ") + table;
        sql(std::string("DROP TABLE ") + table);
        m_adapter->intercept = failing("INSERT", 3, SQLITE_NOMEM);
        EXPECT_EQ(send(schema, "update_request", row), xml::message(schema, "failure"));
        EXPECT_EQ(cell(count), "0") << table;
        m_adapter->intercept = [fails = failing("INSERT", 3, 1)](const std::string& text) mutable {
            return fails(text) != 0 ? throw std::bad_alloc() : 0;
        };
        EXPECT_THROW((void)send(schema, "read_request"), std::bad_alloc);
        EXPECT_EQ(cell(count), "0") << table;
        (void)send(schema, "read_request");
        EXPECT_EQ(cell(count), all) << table;
    }
}

// A user lacked groups for good, and a user's import stood next to the rows that it replaces.
TEST_F(FailureTest, WhatIsReplacedStaysWholeWhenItsSuccessorCannotBeStored) {
    const std::string tables = "SELECT COUNT(*) FROM sqlite_master WHERE name = 'CallGroup'";
    arm("DROP TABLE CallGroup;");
    m_adapter->intercept = failing("INSERT", 3, SQLITE_NOMEM);
    (void)send("CallGroup", "read_request");
    EXPECT_EQ(cell(tables), "0");
    (void)send("CallGroup", "read_request");
    EXPECT_EQ(cell("SELECT COUNT(*) FROM CallGroup"), "32");
    (void)send("PhoneBook", "write_request", xml::entry({{"Surname", "old"}}));
    writeFile(onDevice("/tmp/in.csv"), "base,," + std::string(100000, 'x') + "\nbase,,new\n");
    arm("PRAGMA max_page_count=1;");  // SQLite takes the transaction back at the first line
    service().importData("PhoneBook", base, "/tmp/in.csv");
    EXPECT_EQ(sql("SELECT Surname FROM PHONE_BOOK"), (Rows{{"old"}}));
    EXPECT_TRUE(lockIsFree(*m_adapter));
}

TEST_F(FailureTest, AnExceptionLeavesNothingTaken) {
    sql("CREATE TABLE CANONICAL_LOOK_UP (UserContext TEXT, Id TEXT, LocalCode TEXT);"
        "INSERT INTO CANONICAL_LOOK_UP VALUES ('base', '0', '');");
    const std::string batch = xml::entry({{"Id", "0"}, {"LocalCode", "kept"}}) +
                              xml::entry({{"Id", "5"}, {"InternationalCode", "x"}});
    for (const auto& [reason, body] :
         {std::pair{"read_request", std::string()}, std::pair{"update_request", batch}}) {
        EXPECT_THROW((void)send("CanonicalLookUp", reason, body), std::out_of_range) << reason;
        EXPECT_TRUE(lockIsFree(*m_adapter));
        EXPECT_EQ(m_adapter->beginTransaction(), 0);
        EXPECT_EQ(m_adapter->endTransaction(), 0);
        EXPECT_EQ(send("getCurrentUser"), "base");
    }
    // What was done before is ended, not rolled back.
    EXPECT_EQ(sql("SELECT * FROM CANONICAL_LOOK_UP"), (Rows{{"base", "0", "kept"}}));
}

// What is remembered of the rows would make the next write change one that is not there.
TEST_F(FailureTest, SettingsThatAreNotCommittedAreNotRemembered) {
    for (const bool throws : {false, true}) {
        const std::string case_ = throws ? "Thrown" : "Failed";
        const std::string settings = xml::elements({{case_ + "One", "1"}, {case_ + "Two", "2"}});
        const std::string stored =
            "SELECT Value FROM GENERAL_CONFIG WHERE Name LIKE '" + case_ + "%' ORDER BY 1";
        m_adapter->intercept = [throws](const std::string& statement) {
            if (throws && statement.find("'ThrownTwo'") != std::string::npos) {
                throw std::bad_alloc();
            }
            return statement.find("END") == 0 ? SQLITE_FULL : SQLITE_OK;
        };
        std::string answer = "none";
        try {
            answer = send("TransportSettings", "write_request", settings);
        } catch (const std::bad_alloc&) {
        }
        m_adapter->intercept = {};
        EXPECT_EQ(answer, throws ? "none" : xml::message("TransportSettings", "failure"));
        EXPECT_EQ(sql(stored), Rows());
        (void)send("TransportSettings", "update_request", settings);
        EXPECT_EQ(sql(stored), (Rows{{"1"}, {"2"}}));
    }
}

// The start took the owner for the current user, and deleted the data of the guest.
TEST_F(FailureTest, AStartThatCannotReadTheUserKeepsTheGuestsData) {
    EXPECT_TRUE(service().setProfile("visitor"));
    sql("INSERT OR REPLACE INTO GENERAL_CONFIG VALUES"
        "('MobilitySettings','','MobilityCurrentUser','visitor')");
    for (const std::string item : {"'MobilityCurrentUser'", "'ActiveMobilityModeIsBasic'"}) {
        SCOPED_TRACE(item);
        restart([&item](const std::string& statement) {
            const bool isRead = statement.find("SELECT Value") == 0;
            return isRead && statement.find(item) != std::string::npos ? SQLITE_IOERR : SQLITE_OK;
        });
        EXPECT_EQ(send("getCurrentUser"), "base");
        start();
        EXPECT_EQ(send("getCurrentUser"), "visitor");
        EXPECT_EQ(cell("SELECT COUNT(*) FROM FEATURE_KEYS WHERE UserContext='visitor'"), "177");
    }
}

TEST_F(ThreadsTest, FourThreadsLoseNoRow) {
    constexpr int operations = 2500;
    DataAccessService& shared = service();
    DatabaseAdapter& adapter = *shared.getAdapter();
    (void)adapter.executeNonQuery("PRAGMA synchronous=OFF;");  // threads alone are of interest
    sql("CREATE TABLE T (Thread, Number INTEGER)");
    for (const char* schema : {"CanonicalLookUp", "AbbreviatedDialling"}) {
        (void)send(schema, "read_request");
    }
    m_log.clear();
    // Each row is inserted, and updated once.
    const auto request = [&](const char* user, const char* schema) {
        for (int i = 0; i < operations / 2; ++i) {
            const std::string id = xml::element("Id", std::to_string(1000 + i / 2));
            const std::string number = std::to_string(i);
            const std::string values = xml::elements({{"LocalCode", number}, {"DialUri", number}});
            EXPECT_EQ(shared.processRequest(
                          xml::message(schema, "update_request", xml::context(user, id + values))),
                      xml::message(schema, "update_response"));
        }
    };
    // A transaction of two rows: no row of another thread comes between them.
    const auto insert = [&](const char* thread) {
        for (int i = 0; i < operations; i += 2) {
            TransactionGuard transaction(adapter);
            for (const int number : {i, i + 1}) {
                std::vector<std::string> row = {thread, std::to_string(number)};
                EXPECT_EQ(adapter.insert("T", row, nullptr), 0);
            }
            EXPECT_EQ(transaction.end(), 0);
        }
    };
    std::thread threads[] = {std::thread(request, "base", "CanonicalLookUp"),
                             std::thread(request, "visitor", "AbbreviatedDialling"),
                             std::thread(insert, "1"), std::thread(insert, "2")};
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(cell("SELECT COUNT(*) FROM CANONICAL_LOOK_UP WHERE LocalCode - 2 * (Id - 1000) = 1"),
              "625");
    EXPECT_EQ(cell("SELECT COUNT(*) FROM ABBREVIATED_DIALLING WHERE DialUri - 2 * (Id - 1000) = 1"),
              "625");
    EXPECT_EQ(sql("SELECT Thread, COUNT(DISTINCT Number) FROM T GROUP BY Thread"),
              (Rows{{"1", "2500"}, {"2", "2500"}}));
    EXPECT_EQ(cell("SELECT COUNT(*) FROM T a JOIN T b ON b.rowid = a.rowid + 1 WHERE a.Number % 2 "
                   "= 0 AND b.Thread = a.Thread AND b.Number = a.Number + 1"),
              "2500");
    EXPECT_FALSE(m_log.has(3, ""));
}
