#include <atomic>
#include <thread>

#include "GPALSleep.h"
#include "testkit/RecordingAdapter.h"

using ::testing::ElementsAre;

namespace {

using DatabaseAdapterTest = AdapterTest;

}  // namespace

TEST_F(DatabaseAdapterTest, RawCodesBecomeFourStatuses) {
    const std::map<int, int> others = {{0, 0}, {7, 2}, {10, 2}, {13, 2}, {14, 3}};
    for (int code = -2; code < 110; ++code) {
        const int expected = others.count(code) > 0 ? others.at(code) : 1;
        EXPECT_EQ(m_adapter.convertSQLiteStatusToAdapterStatus(code), expected) << code;
    }
}

TEST_F(DatabaseAdapterTest, RemovedFileLeavesADeadHandle) {
    m_adapter.removeDbFile();
    EXPECT_TRUE(m_log.has(5, "Successfully closed database connection\n"));
    EXPECT_FALSE(std::filesystem::exists(database()));
    Rows rows = {{"old"}};
    EXPECT_NE(m_adapter.executeNonQuery("CREATE TABLE T (A);"), 0);
    EXPECT_TRUE(
        m_log.has(3, "SQLite: ERROR 'no open database' handling request 'CREATE TABLE T (A);'"));
    EXPECT_EQ(m_adapter.executeSQLQuery("SELECT 1;", rows), 1);
    EXPECT_TRUE(rows.empty());
    EXPECT_NE(m_adapter.beginTransaction(), 0);
    EXPECT_NE(m_adapter.endTransaction(), 0);
    EXPECT_TRUE(lockIsFree(m_adapter));
    EXPECT_FALSE(std::filesystem::exists(database()));
}

TEST_F(DatabaseAdapterTest, AConnectionInUseStaysOpenButItsFileGoes) {
    std::vector<unsigned> sleeps;
    GPALSleep::setSleeper([&sleeps](unsigned seconds) { sleeps.push_back(seconds); });
    const auto remove = [](void* adapter, int, char**, char**) {
        static_cast<DatabaseAdapter*>(adapter)->removeDbFile();
        return 0;
    };
    {
        AdapterLock lock(m_adapter);
        EXPECT_EQ(m_adapter.actualSQLiteCommandExecution("SELECT 1;", remove, &m_adapter), 0);
    }
    GPALSleep::setSleeper({});
    EXPECT_THAT(sleeps, ElementsAre(5U));
    EXPECT_TRUE(m_log.has(3, "DatabaseAdapter::removeDbFile() : sqlite3_close() error occured: "));
    EXPECT_FALSE(std::filesystem::exists(database()));
    EXPECT_EQ(m_adapter.executeNonQuery("SELECT 1;"), 0);
}

// A damaged file was logged only at a level that is not written by default.
TEST_F(DatabaseAdapterTest, ADamagedFileIsToldOnceWithoutValues) {
    EXPECT_EQ(m_adapter.executeNonQuery("CREATE TABLE T (A); INSERT INTO T VALUES (1);"), 0);
    std::string bytes = readFile(database());
    ++bytes.at(27);  // counts changes: what the adapter remembers of the file is void
    writeFile(database(), bytes.replace(4096, 100, 100, '\xff'));
    for (int i = 0; i < 2; ++i) {
        EXPECT_EQ(m_adapter.executeNonQuery("DELETE FROM T WHERE A = 'secret';"), SQLITE_CORRUPT);
        Rows rows;
        EXPECT_EQ(m_adapter.executeSQLQuery("SELECT * FROM T;", rows), 1);
    }
    EXPECT_TRUE(m_log.has(2, "The database " + database().string() +
                                 " is damaged: database disk image is malformed, at 'DELETE FROM T "
                                 "WHERE A = '"));
    EXPECT_EQ(m_log.count("is damaged"), 1);
}

TEST_F(DatabaseAdapterTest, LastErrorStaysUntilTheNextStatement) {
    EXPECT_EQ(m_adapter.freeError(), 1);
    EXPECT_EQ(m_adapter.executeNonQuery("DROP TABLE Gone;"), SQLITE_ERROR);
    EXPECT_EQ(m_adapter.getError(), "no such table: Gone");
    EXPECT_EQ(m_adapter.executeNonQuery("SELECT 1;"), 0);
    EXPECT_EQ(m_adapter.getError(), "NULL");
    (void)m_adapter.executeNonQuery("DROP TABLE Gone;");
    EXPECT_EQ(m_adapter.freeError(), 0);
    EXPECT_EQ(m_adapter.getError(), "NULL");
}

// A database that another process held for long got its default rows twice: its tables counted "0".
TEST_F(DatabaseAdapterTest, ALockedTableIsNotTakenForAnEmptyOne) {
    sql("CREATE TABLE T (A); INSERT INTO T VALUES (1);");
    Rows rows;
    EXPECT_EQ(m_adapter.executeSQLQuery("PRAGMA busy_timeout;", rows), 0);
    EXPECT_EQ(rows, (Rows{{"5000"}}));
    EXPECT_EQ(m_adapter.executeSQLQuery("SELECT * FROM T;", rows), 0);  // it knows of the table
    waitForNobody(m_adapter);
    const auto blocker = std::make_unique<Blocker>(database());
    std::string count;
    PairList all;
    EXPECT_EQ(m_adapter.getRowCount("T", all, count), 0);
    EXPECT_EQ(count, "0");
    EXPECT_TRUE(m_log.has(3, "'database is locked' handling request 'SELECT COUNT(*) FROM T'"));
    EXPECT_EQ(m_adapter.countRows("T", all, count), 1);
    EXPECT_FALSE(m_adapter.isKnownToBeEmpty("T"));
    EXPECT_TRUE(lockIsFree(m_adapter));
}

TEST_F(DatabaseAdapterTest, ARefusedBeginHoldsTheLockUntilItsEnd) {
    std::atomic<bool> started{false};
    std::atomic<bool> ended{false};
    EXPECT_EQ(m_adapter.beginTransaction(), 0);
    EXPECT_EQ(m_adapter.beginTransaction(), SQLITE_ERROR);
    auto sawEnd = std::async(std::launch::async, [&] {
        started = true;
        (void)m_adapter.executeNonQuery("SELECT 1;");
        return ended.load();
    });
    while (!started) {
        std::this_thread::yield();
    }
    EXPECT_EQ(m_adapter.executeNonQuery("CREATE TABLE T (A);"), 0);
    EXPECT_EQ(m_adapter.endTransaction(), 0);
    ended = true;
    EXPECT_EQ(m_adapter.endTransaction(), SQLITE_ERROR);
    EXPECT_TRUE(sawEnd.get());
}

TEST_F(DatabaseAdapterTest, TransactionGuardEndsOnce) {
    sql("CREATE TABLE T (A)");
    struct {
        std::function<void(TransactionGuard&)> leave;
        const char* rows;
        const char* last;
    } const rows[] = {
        {[](auto& guard) { EXPECT_EQ(guard.end() + guard.end(), 0); }, "1", "END"},
        {[](auto&) {}, "1", "END"},
        {[](auto&) { throw 1; }, "1", "END"},
        {[](auto& guard) { guard.rollBack(); }, "0", "ROLLBACK"},
    };
    for (const auto& row : rows) {
        sql("DELETE FROM T");
        m_adapter.statements.clear();
        try {
            TransactionGuard guard(m_adapter);
            EXPECT_EQ(m_adapter.executeNonQuery("INSERT INTO T VALUES (1);"), 0);
            row.leave(guard);
        } catch (int) {
        }
        EXPECT_EQ(cell("SELECT COUNT(*) FROM T"), row.rows);
        EXPECT_THAT(m_adapter.statements,
                    ElementsAre("BEGIN TRANSACTION;", "INSERT INTO T VALUES (1);",
                                std::string(row.last) + " TRANSACTION;"));
        EXPECT_TRUE(lockIsFree(m_adapter));
    }
}

TEST_F(DatabaseAdapterTest, WorkIsDoneWholeOrNotAtAll) {
    sql("CREATE TABLE T (A)");
    const std::string insert = "INSERT INTO T VALUES (1);";
    const auto yes = [] { return true; };
    struct {
        const char* name;
        const char* refused;
        std::function<bool()> between;
        bool done;
    } const rows[] = {
        {"no failure", "none", yes, true},
        {"begin", "BEGIN", yes, false},
        {"end", "END", yes, false},
        {"the work fails", "none", [] { return false; }, false},
        {"the work throws", "none", []() -> bool { throw 1; }, false},
        {"nor can it be rolled back", "ROLLBACK", [] { return false; }, false},
        {"SQLite takes it back, as on a full disk", "none",
         [this] { return m_adapter.executeNonQuery("ROLLBACK;") == 0; }, false},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        sql("DELETE FROM T");
        m_adapter.intercept = failing(row.refused, 1, SQLITE_BUSY);
        bool done = false;
        try {
            done = runWholeOrNot(m_adapter, [&] {
                (void)m_adapter.executeNonQuery(insert);
                const bool goesOn = row.between();
                (void)m_adapter.executeNonQuery(insert);
                return goesOn;
            });
        } catch (int) {
        }
        EXPECT_EQ(done, row.done);
        EXPECT_EQ(cell("SELECT COUNT(*) FROM T"), row.done ? "2" : "0");
        EXPECT_TRUE(lockIsFree(m_adapter));
        EXPECT_EQ(m_adapter.executeNonQuery(insert), 0);
        EXPECT_EQ(cell("SELECT COUNT(*) FROM T"), row.done ? "3" : "1");
    }
}

TEST_F(DatabaseAdapterTest, TheCallBeforeAChangeFindsTheDatabaseAsItWas) {
    sql("CREATE TABLE T (A)");
    std::string seen;
    m_adapter.callBeforeChange([&] {
        seen += cell("SELECT COUNT(*) FROM T");
        throw 1;
    });
    EXPECT_EQ(m_adapter.executeNonQuery("SELECT * FROM T;"), 0);
    EXPECT_EQ(seen, "");
    for (const char* expected : {"0", "01", "01"}) {
        EXPECT_EQ(m_adapter.executeNonQuery("INSERT INTO T VALUES (1);"), 0);
        EXPECT_EQ(seen, expected);
        if (seen.size() == 2) {
            m_adapter.callBeforeChange({});
        }
    }
    EXPECT_EQ(cell("SELECT COUNT(*) FROM T"), "3");
}

TEST_F(DatabaseAdapterTest, ACopyIsWholeOrToldToHaveFailed) {
    sql("CREATE TABLE T (A); INSERT INTO T VALUES (1);");
    const std::string copy = place() / "copy";
    EXPECT_FALSE(DatabaseAdapter::copyDatabase(copy));
    EXPECT_TRUE(m_log.has(2, "sqlite3_open() error occured: unable to open database file"));
    writeFile(copy, "");
    {
        const Blocker blocker(database());
        EXPECT_FALSE(DatabaseAdapter::copyDatabase(copy));
        EXPECT_TRUE(m_log.has(2, "copyDatabase() error occured: database is locked"));
    }
    EXPECT_TRUE(DatabaseAdapter::copyDatabase(copy));
    EXPECT_TRUE(DatabaseAdapter::isSound(copy));
    std::filesystem::rename(copy, database());
    EXPECT_EQ(cell("SELECT A FROM T"), "1");
}
