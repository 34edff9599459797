#include <stdexcept>

#include "RecordingAdapter.h"

using ::testing::ElementsAre;
using ::testing::IsEmpty;

namespace {

class DatabaseAdapterRowsTest : public AdapterTest {
protected:
    ~DatabaseAdapterRowsTest() override {
        DatabaseAdapter::setWhetherRequestContentShowableOnTheAurelTrace(true);
    }

    int insert(const std::vector<std::string>& values, long long* rowId = nullptr) {
        std::vector<std::string> consumed = values;
        const int status = m_adapter.insert("T", consumed, rowId);
        EXPECT_THAT(consumed, IsEmpty());
        return status;
    }
    int update(PairList conditions, PairList values, bool skipEmptyCheck = true) {
        return m_adapter.update("T", conditions, values, skipEmptyCheck);
    }
};

}  // namespace

TEST_F(DatabaseAdapterRowsTest, StatementsReadAsTheyAlwaysHave) {
    sql("CREATE TABLE T (A, B); INSERT INTO T VALUES (8, 9);");
    struct {
        std::function<int(DatabaseAdapter&, PairList, PairList)> run;
        const char* sql;
    } const rows[] = {
        {[](auto& a, PairList, PairList) {
             return a.insertRow("T", {}, {"1", "'x'"}, nullptr);
         },
         "INSERT OR REPLACE INTO T VALUES (1, 'x');"},
        {[](auto& a, PairList, PairList) {
             return a.insertRow("T", {"B", "A"}, {"1", "2"}, nullptr);
         },
         "INSERT OR REPLACE INTO T (B, A) VALUES (1, 2);"},
        {[](auto& a, PairList, PairList values) { return a.insert("T", values, nullptr); },
         "INSERT OR REPLACE INTO T (B, A) VALUES ('v', 7);"},
        {[](auto& a, PairList where, PairList values) {
             return a.update("T", where, values, true);
         },
         "UPDATE T SET B = 'v', A = 7 WHERE A = 1;"},
        {[](auto& a, PairList where, PairList values) {
             PairList orList = {{"B", "2"}};
             PairList notList = {{"A", "3"}};
             return a.update("T", where, orList, notList, values, true);
         },
         "UPDATE T SET B = 'v', A = 7 WHERE A = 1 AND  ( B = 2 )  AND A <> 3;"},
        {[](auto& a, PairList where, PairList) { return a.deleteRow("T", where); },
         "DELETE FROM T  WHERE A = 1;"},
        {[](auto& a, PairList where, PairList values) {
             PairList orList;
             return a.deleteRow("T", where, orList, values);
         },
         "DELETE FROM T  WHERE A = 1 AND B <> 'v' AND A <> 7;"},
        {[](auto& a, PairList, PairList) {
             PairList all;
             return a.deleteRow("T", all);
         },
         "DELETE FROM T ;"},
    };
    for (const auto& row : rows) {
        m_log.clear();
        EXPECT_EQ(row.run(m_adapter, {{"A", "1"}}, {{"B", "'v'"}, {"A", "7"}}), 0) << row.sql;
        EXPECT_EQ(m_adapter.statements.back(), row.sql);
        EXPECT_TRUE(m_log.has(5, row.sql)) << row.sql;
    }
}

TEST_F(DatabaseAdapterRowsTest, PasswordsAreMaskedInTheLogAndWholeInTheTable) {
    sql("CREATE TABLE T (Name, Value, LineSipPassword)");
    const std::string all =
        "SELECT group_concat(Name || ',' || Value || ',' || LineSipPassword) "
        "FROM T";
    struct {
        const char* name;
        std::function<int()> run;
        std::string logged;
        const char* stored;
    } const rows[] = {
        {"password behind its name",
         [&] {
             return insert({"'SnmpGetPassword'", "'top'", "''"});
         },
         "SQL INSERT OR REPLACE INTO T VALUES ('SnmpGetPassword', '*****', '');",
         "SnmpGetPassword,top,"},
        {"a password that is the name of one",
         [&] {
             return insert({"'PIN'", "'PIN'", "'shown'"});
         },
         "SQL INSERT OR REPLACE INTO T VALUES ('PIN', '*****', 'shown');", "PIN,PIN,shown"},
        {"a blank one",
         [&] {
             return insert({"'PINEnc'", "''", "'later'"});
         },
         "SQL INSERT OR REPLACE INTO T VALUES ('PINEnc', '', 'later');", "PINEnc,,later"},
        {"no password",
         [&] {
             return insert({"'userpassword'", "'open'", "'x'"});
         },
         "SQL INSERT OR REPLACE INTO T VALUES ('userpassword', 'open', 'x');",
         "userpassword,open,x"},
        {"update of a password column",
         [&] {
             return insert({"1", "2", "3"}) +
                    update({}, {{"Value", "'o'"}, {"LineSipPassword", "'top'"}, {"Name", "1"}});
         },
         "UPDATE T SET Value = 'o', LineSipPassword = '*****', Name = 1;", "1,o,top"},
        {"update of a password's row",
         [&] {
             return insert({"'PIN'", "2", "3"}) +
                    update({{"Name", "'PIN'"}}, {{"Value", "'top'"}, {"LineSipPassword", "''"}});
         },
         "UPDATE T SET Value = '*****', LineSipPassword = '*****' WHERE Name = 'PIN';", "PIN,top,"},
    };
    for (const bool shown : {true, false}) {
        DatabaseAdapter::setWhetherRequestContentShowableOnTheAurelTrace(shown);
        for (const auto& row : rows) {
            SCOPED_TRACE(std::string(row.name) + (shown ? "" : ", contents not shown"));
            sql("DELETE FROM T");
            m_log.clear();
            EXPECT_EQ(row.run(), 0);
            EXPECT_EQ(cell(all), row.stored);
            // Kept on purpose: an update is logged whatever the flag says.
            const bool isUpdate = row.logged.compare(0, 6, "UPDATE") == 0;
            EXPECT_EQ(m_log.has(5, row.logged), shown || isUpdate);
            EXPECT_EQ(m_log.has("INSERT"), shown);
            EXPECT_FALSE(m_log.has("SQL UPDATE"));
            EXPECT_FALSE(m_log.has("'top'"));
        }
    }
}

TEST_F(DatabaseAdapterRowsTest, InsertTellsStatusesAndInsertRowRawCodes) {
    sql("CREATE TABLE T (A)");
    const std::pair<int, int> rows[] = {
        {SQLITE_FULL, 2}, {SQLITE_IOERR, 2}, {SQLITE_CANTOPEN, 3}, {SQLITE_BUSY, 1}};
    for (const auto& [code, status] : rows) {
        m_adapter.intercept = [code = code](const std::string&) { return code; };
        long long rowId = 7;
        EXPECT_EQ(insert({"1"}, &rowId), status);
        EXPECT_EQ(m_adapter.insert("T", PairList{{"A", "1"}}, &rowId), status);
        EXPECT_EQ(m_adapter.insertRow("T", {}, {"1"}, &rowId), code);
        EXPECT_EQ(rowId, 7);
    }
    m_adapter.intercept = {};
    EXPECT_EQ(m_adapter.insertRow("T", {}, {"1", "2"}, nullptr), SQLITE_ERROR);
    EXPECT_EQ(m_adapter.insert("Gone", PairList{{"A", "1"}}, nullptr), 1);
    EXPECT_TRUE(m_log.has("DatabaseAdapter - SQL Query returning NULL"));
}

TEST_F(DatabaseAdapterRowsTest, InsertReplacesTheRowOfTheSameKey) {
    sql("CREATE TABLE T (A INTEGER PRIMARY KEY, B)");
    long long rowId = 0;
    EXPECT_EQ(insert({"40", "'old'"}, &rowId), 0);
    EXPECT_EQ(rowId, 40);
    EXPECT_EQ(m_adapter.insert("T", PairList{{"B", "'new'"}, {"A", "40"}}, nullptr), 0);
    EXPECT_EQ(m_adapter.insert("T", PairList{{"B", "'next'"}}, &rowId), 0);
    EXPECT_EQ(rowId, 41);
    EXPECT_EQ(sql("SELECT * FROM T"), (Rows{{"40", "new"}, {"41", "next"}}));
}

TEST_F(DatabaseAdapterRowsTest, AnUnknownColumnRaisesAndWritesNothing) {
    sql("CREATE TABLE T (A)");
    const PairList values = {{"A", "1"}, {"a", "2"}};
    EXPECT_THROW((void)m_adapter.insert("T", values, nullptr), std::out_of_range);
    EXPECT_EQ(cell("SELECT COUNT(*) FROM T"), "0");
    EXPECT_TRUE(lockIsFree(m_adapter));
}

TEST_F(DatabaseAdapterRowsTest, EmptyTablesAreSuccessForAnUpdateAndFailureForADelete) {
    sql("CREATE TABLE T (A)");
    PairList all;
    EXPECT_EQ(update({}, {{"A", "1"}}, false), 0);
    EXPECT_EQ(m_adapter.count("UPDATE"), 0);
    EXPECT_EQ(update({}, {{"A", "1"}}, true), 0);
    EXPECT_EQ(m_adapter.count("UPDATE"), 1);
    EXPECT_EQ(update({}, {{"Gone", "1"}}, true), SQLITE_ERROR);
    EXPECT_EQ(m_adapter.deleteRow("T", all), 1);
    EXPECT_EQ(m_adapter.count("DELETE"), 0);
    EXPECT_EQ(insert({"1"}), 0);
    EXPECT_EQ(update({}, {{"A", "2"}}, false), 0);
    EXPECT_EQ(cell("SELECT A FROM T"), "2");
    EXPECT_EQ(m_adapter.deleteRow("T", all), 0);
}
