#include <stdexcept>

#include "testkit/RecordingAdapter.h"

using ::testing::ElementsAre;

namespace {

/// The arguments of the select family.
struct Lists {
    PairList one = {{"A", "1"}};
    PairList two = {{"B", "2"}, {"C", "3"}};
    PairList none;
    std::vector<std::string> group = {"A", "B"};
    std::vector<std::string> noGroup;
    PairList order = {{"A", "DESC"}, {"B", ""}};
    Rows rows = {{"old"}};
};

class DatabaseAdapterQueryTest : public AdapterTest {
protected:
    /// Checks that only @p statement ran, and failed with @p result because its table is missing.
    /// Fills the lists again.
    void expectRan(int result, const char* statement) {
        EXPECT_EQ(result, 1) << statement;
        EXPECT_THAT(m_adapter.statements, ElementsAre(statement));
        EXPECT_TRUE(m_log.has(5, statement)) << statement;
        m_adapter.statements.clear();
        l = Lists();
    }

    Lists l;
};

}  // namespace

TEST_F(DatabaseAdapterQueryTest, ConditionsAreJoinedAsTheirListsSay) {
    struct {
        PairList andList;
        PairList orList;
        PairList notList;
        const char* sql;
    } rows[] = {
        {{}, {}, {}, ""},
        {{{"A", "1"}, {"A", "2"}, {"B", "3"}}, {}, {}, " WHERE A = 1 OR A = 2 AND B = 3"},
        {{{"A", "1"}, {"B", "3"}, {"A", "2"}}, {}, {}, " WHERE A = 1 AND B = 3 AND A = 2"},
        {{{"A", "1"}},
         {{"B", "2"}, {"C", "3"}},
         {{"D", "4"}},
         " WHERE A = 1 AND  ( B = 2 OR C = 3 )  AND D <> 4"},
        {{}, {}, {{"A", "(SELECT X FROM Y)"}}, " WHERE A NOT IN (SELECT X FROM Y)"},
        {{}, {}, {{"A", "'FROM'"}, {"B", "'SELECT'"}}, " WHERE A <> 'FROM' AND B <> 'SELECT'"},
        {{{"A", "LIKE '%1'"}, {"A", "LIKE 1"}}, {}, {}, " WHERE A LIKE '%1' OR A = LIKE 1"},
    };
    for (auto& row : rows) {
        EXPECT_EQ(m_adapter.concatWhereCondition(row.andList, row.orList, row.notList), row.sql);
        EXPECT_EQ(row.andList.size() + row.orList.size() + row.notList.size(), 0U) << row.sql;
    }
}

TEST_F(DatabaseAdapterQueryTest, StatementsReadAsTheyAlwaysHave) {
    RecordingAdapter& a = m_adapter;
    const std::string join = "JOIN U ON T.A = U.A";
    const std::vector<std::string> columns = {"A", "B"};
    const PairList search = {{"U", "'base'"}, {"A", "LIKE '%1'"}, {"B", "2"}};
    expectRan(a.executeQuery("T", {}, {}, l.none, l.rows, "20", ""), "SELECT * FROM T;");
    expectRan(a.executeQuery("T", columns, l.one, l.order, l.rows, "20", "10"),
              "SELECT A, B FROM T WHERE A = 1 ORDER BY A DESC, B LIMIT 10 OFFSET 20;");
    expectRan(a.executeQuery("T", {"A"}, l.one, l.group, l.order, l.rows, "0", "1"),
              "SELECT A FROM T WHERE A = 1 GROUP BY A, B ORDER BY A DESC, B LIMIT 1 OFFSET 0;");
    expectRan(a.executeQuery("T", {}, l.one, join, l.noGroup, l.order, l.rows, "", ""),
              "SELECT * FROM T JOIN U ON T.A = U.A WHERE A = 1 ORDER BY A DESC, B;");
    expectRan(a.executeQuery("T", {}, l.one, l.two, l.none, l.order, l.rows, "", ""),
              "SELECT * FROM T WHERE A = 1 AND  ( B = 2 OR C = 3 )  ORDER BY A DESC, B;");
    expectRan(a.executeQuery("T", {}, l.none, l.one, l.two, join, l.group, l.none, l.rows, "", ""),
              "SELECT * FROM T JOIN U ON T.A = U.A WHERE  ( A = 1 )  AND B <> 2 AND C <> 3 "
              "GROUP BY A, B;");
    expectRan(a.actualSearchQuery("T", columns, search, l.order, l.rows, "5", "9"),
              "SELECT A, B FROM T WHERE U = 'base' AND A LIKE '%1' UNION SELECT A, B FROM T WHERE "
              "U = 'base' AND B = 2  ORDER BY A DESC, B  LIMIT 9 ;");
    expectRan(a.actualSearchQuery("T", {}, l.two, l.none, l.rows, "", ""),
              "SELECT * FROM T WHERE B = 2 AND C = 3  ;");
    expectRan(a.actualSearchQuery("T", {}, l.one, l.none, l.rows, "", "9"), " LIMIT 9 ;");
    (void)a.executeQuery("T", {}, l.one, l.two, l.none, "", l.group, l.order, l.rows, "", "");
    EXPECT_EQ(l.one.size() + l.two.size() + l.group.size() + l.order.size() + l.rows.size(), 0U)
        << "the lists that it takes are emptied";
    std::string count;
    l.two = search;
    EXPECT_EQ(a.getRowCount("T", l.two, count), 0);
    EXPECT_TRUE(m_log.has(6, "SELECT COUNT(*) FROM T WHERE U = 'base' AND A LIKE '%1' AND B = 2"));
}

TEST_F(DatabaseAdapterQueryTest, RowsComeBackAsTextOfFullWidth) {
    sql("CREATE TABLE T (A, B, C); INSERT INTO T VALUES (1, NULL, 'x'), (NULL, 2.5, '');");
    Rows rows = {{"old"}};
    EXPECT_EQ(m_adapter.executeSQLQuery("SELECT * FROM T;", rows), 0);
    EXPECT_EQ(rows, (Rows{{"1", "", "x"}, {"", "2.5", ""}}));
    EXPECT_TRUE(m_log.has(5, "executeSQLQuery:Row count = 2"));
    std::string count;
    EXPECT_EQ(m_adapter.getRowCount("SELECT NULL", count), 0);
    EXPECT_EQ(count, "0");
}

TEST_F(DatabaseAdapterQueryTest, OnlyTheSearchGoesOnBehindAFailedPrepare) {
    const std::string failed =
        "SQLite: ERROR 'no such table: Gone' handling request 'SELECT * FROM Gone;'";
    for (const bool search : {false, true}) {
        Rows rows = {{"old"}};
        m_log.clear();
        EXPECT_EQ(search ? m_adapter.executeActualSearchQuery("SELECT * FROM Gone;", rows)
                         : m_adapter.executeSQLQuery("SELECT * FROM Gone;", rows),
                  1);
        EXPECT_TRUE(rows.empty());
        EXPECT_TRUE(m_log.has(3, failed));
        EXPECT_EQ(m_log.has("Row count = 0"), search);
        EXPECT_TRUE(lockIsFree(m_adapter));
    }
    EXPECT_THROW((void)m_adapter.actualSearchQuery("T", {}, {}, l.none, l.rows, "", ""),
                 std::out_of_range);
    EXPECT_TRUE(lockIsFree(m_adapter));
}
