#include <stdexcept>

#include "testkit/RecordingAdapter.h"

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
    const auto expectRan = [this](int result, const char* statement) {
        EXPECT_EQ(result, 0) << statement;
        EXPECT_EQ(m_adapter.statements.back(), statement);
        EXPECT_TRUE(m_log.has(5, statement)) << statement;
    };
    const PairList where = {{"A", "1"}};
    const PairList values = {{"B", "'v'"}, {"A", "7"}};
    PairList andList = where;
    PairList orList = {{"B", "2"}};
    PairList notList = {{"A", "3"}};
    PairList newValues = values;
    expectRan(m_adapter.insertRow("T", {}, {"1", "'x'"}, nullptr),
              "INSERT OR REPLACE INTO T VALUES (1, 'x');");
    expectRan(m_adapter.insertRow("T", {"B", "A"}, {"1", "2"}, nullptr),
              "INSERT OR REPLACE INTO T (B, A) VALUES (1, 2);");
    expectRan(m_adapter.insert("T", values, nullptr),
              "INSERT OR REPLACE INTO T (B, A) VALUES ('v', 7);");
    expectRan(update(where, values), "UPDATE T SET B = 'v', A = 7 WHERE A = 1;");
    expectRan(m_adapter.update("T", andList, orList, notList, newValues, true),
              "UPDATE T SET B = 'v', A = 7 WHERE A = 1 AND  ( B = 2 )  AND A <> 3;");
    notList = values;
    expectRan(m_adapter.deleteRow("T", andList, orList, notList),
              "DELETE FROM T  WHERE B <> 'v' AND A <> 7;");
    andList = where;
    expectRan(m_adapter.deleteRow("T", andList), "DELETE FROM T  WHERE A = 1;");
}

TEST_F(DatabaseAdapterRowsTest, PasswordsAreMaskedInTheLogAndWholeInTheTable) {
    sql("CREATE TABLE T (Name, Value, LineSipPassword)");
    const std::string insertInto = "SQL INSERT OR REPLACE INTO T VALUES ";
    const auto expectLogged = [this](const std::string& logged, bool isLogged, const char* stored) {
        EXPECT_EQ(m_log.has(5, logged), isLogged) << logged;
        EXPECT_FALSE(m_log.has("'top'")) << logged;
        EXPECT_EQ(cell("SELECT Name || ',' || Value || ',' || LineSipPassword FROM T"), stored);
        sql("DELETE FROM T");
    };
    for (const bool shown : {true, false}) {
        DatabaseAdapter::setWhetherRequestContentShowableOnTheAurelTrace(shown);
        m_log.clear();
        EXPECT_EQ(insert({"'SnmpGetPassword'", "'top'", "''"}), 0);
        expectLogged(insertInto + "('SnmpGetPassword', '*****', '');", shown,
                     "SnmpGetPassword,top,");
        EXPECT_EQ(insert({"'PINEnc'", "''", "'top'"}), 0);
        expectLogged(insertInto + "('PINEnc', '', '*****');", shown, "PINEnc,,top");
        // Kept on purpose: an update is logged whatever the flag says.
        EXPECT_EQ(insert({"1", "2", "3"}), 0);
        EXPECT_EQ(update({}, {{"Value", "'o'"}, {"LineSipPassword", "'top'"}, {"Name", "1"}}), 0);
        expectLogged("UPDATE T SET Value = 'o', LineSipPassword = '*****', Name = 1;", true,
                     "1,o,top");
        EXPECT_EQ(insert({"'PIN'", "2", "3"}), 0);
        EXPECT_EQ(update({{"Name", "'PIN'"}}, {{"Value", "'top'"}, {"LineSipPassword", "''"}}), 0);
        expectLogged("UPDATE T SET Value = '*****', LineSipPassword = '*****' WHERE Name = 'PIN';",
                     true, "PIN,top,");
        EXPECT_EQ(m_log.has("INSERT"), shown);
        EXPECT_EQ(insert({"1", "2", "3"}), 0);
        PairList where = {{"LineSipPassword", "'top'"}};
        EXPECT_EQ(m_adapter.insertRow("T", {"LineSipPassword", "Nowhere"}, {"'top'", "1"}, nullptr),
                  SQLITE_ERROR);
        EXPECT_TRUE(m_log.has(3, "(LineSipPassword, Nowhere) VALUES ('*****', 1);'"));
        EXPECT_EQ(m_adapter.deleteRow("T", where), 0);
        expectLogged("DELETE FROM T  WHERE LineSipPassword = '*****';", true, "1,2,3");
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

TEST_F(DatabaseAdapterRowsTest, AnUnknownColumnRaisesAndWritesNothing) {
    sql("CREATE TABLE T (A)");
    const PairList values = {{"A", "1"}, {"a", "2"}};
    EXPECT_THROW((void)m_adapter.insert("T", values, nullptr), std::out_of_range);
    EXPECT_EQ(cell("SELECT COUNT(*) FROM T"), "0");
    EXPECT_TRUE(lockIsFree(m_adapter));
}

TEST_F(DatabaseAdapterRowsTest, EmptyTablesAreSuccessForAnUpdateAndFailureForADelete) {
    sql("CREATE TABLE T (A)");
    // Below 6 the log shows no counts, and not every update looks for rows.
    for (const int level : {6, 5}) {
        const LogCapture log(level);
        m_adapter.statements.clear();
        PairList all;
        EXPECT_EQ(update({}, {{"A", "1"}}, false), 0);
        EXPECT_EQ(m_adapter.count("UPDATE"), 0);
        EXPECT_EQ(m_adapter.deleteRow("T", all), 1);
        EXPECT_EQ(m_adapter.count("DELETE"), 0);
        EXPECT_EQ(insert({"1"}), 0);
        EXPECT_EQ(update({}, {{"A", "2"}}, false), 0);
        EXPECT_EQ(update({}, {{"A", "3"}}, false), 0);
        EXPECT_EQ(cell("SELECT A FROM T"), "3");
        EXPECT_EQ(m_adapter.deleteRow("T", all), 0);
        EXPECT_EQ(update({}, {{"A", "4"}}, false), 0);
        EXPECT_EQ(m_adapter.count("UPDATE"), 2);
    }
}
