#include "database/StatementCache.h"

#include "database/Statement.h"
#include "database/StatementText.h"
#include "testkit/RecordingAdapter.h"

using ::testing::ElementsAre;

namespace {

/// The values that a statement's key has taken out; "none" when it is not kept.
std::vector<std::string> valuesIn(const std::string& sql) {
    const StatementText text(sql);
    if (!text.isCacheable()) {
        return {"none"};
    }
    std::vector<std::string> values;
    for (const auto& literal : text.literals()) {
        values.push_back(text.unquoted(literal));
    }
    return values;
}

class StatementCacheTest : public AdapterTest {
protected:
    StatementCacheTest() {
        m_adapter.executeNonQuery("CREATE TABLE T (A TEXT, N INTEGER PRIMARY KEY, \"it's\" TEXT);");
    }

    /// The result of each statement and the rows of T after it, and what was logged.
    std::vector<std::string> run(const std::vector<std::string>& statements) {
        std::vector<std::string> seen;
        for (const std::string& sql : statements) {
            const int code = m_adapter.executeNonQuery(sql);
            Rows rows;
            const int read = m_adapter.executeSQLQuery(sql, rows);
            Rows all;
            (void)m_adapter.executeSQLQuery("SELECT *, typeof(A), typeof(N) FROM T;", all);
            std::string line = std::to_string(code) + " " + std::to_string(read) + ":";
            for (const Rows* part : {&rows, &all}) {
                for (const auto& row : *part) {
                    for (const std::string& cell : row) {
                        line += cell + "|";
                    }
                    line += "/";
                }
            }
            seen.push_back(line);
        }
        (void)m_adapter.executeNonQuery("DELETE FROM T;");
        return seen;
    }

    std::vector<std::string> linesOfLog() const {
        std::vector<std::string> lines;
        for (const auto& entry : m_log.entries()) {
            lines.push_back(std::to_string(entry.level) + " " + entry.message);
        }
        return lines;
    }
};

}  // namespace

TEST_F(StatementCacheTest, LiteralsLeaveTheText) {
    const struct {
        std::string sql;
        std::string key;
        std::vector<std::string> values;
    } rows[] = {
        {"SELECT A FROM T WHERE A = 'x' AND N = 5;",
         "SELECT A FROM T WHERE A = ? AND N = 5",
         {"x"}},
        {"INSERT INTO T VALUES ('', 'it''s', '''');",
         "INSERT INTO T VALUES (?, ?, ?)",
         {"", "it's", "'"}},
        {"UPDATE T SET \"it's\" = 'a;b--c?' WHERE N = -1 ; ",
         "UPDATE T SET \"it's\" = ? WHERE N = -1 ",
         {"a;b--c?"}},
        {"SELECT 'a' || \"x\"\"'y\" FROM T", "SELECT ? || \"x\"\"'y\" FROM T", {"a"}},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(StatementText(row.sql).key(), row.key);
        EXPECT_EQ(valuesIn(row.sql), row.values);
    }
    for (const std::string& sql :
         {std::string("PRAGMA user_version;"), std::string("CREATE TABLE U (A);"),
          std::string("SELECT 1; DROP TABLE T;"), std::string("SELECT 'open"),
          std::string("SELECT \"open"), std::string("SELECT x'00';"), std::string("SELECT ?;"),
          std::string("SELECT :a;"), std::string("SELECT 1 -- 'x'"),
          std::string("SELECT /* ' */ 1"), std::string("SELECT [it's] FROM T;"),
          std::string("SELECT `it's` FROM T;"), std::string("SELECT 'a\0b';", 13),
          "SELECT '" + std::string(9000, 'x') + "';"}) {
        EXPECT_THAT(valuesIn(sql), ElementsAre("none")) << sql;
    }
}

TEST_F(StatementCacheTest, AnswersRowsAndLogAreThoseWithoutIt) {
    const std::string huge(7000, 'h');
    std::vector<std::string> statements;
    for (const std::string& value :
         {std::string("1"), std::string("it''s"), std::string(), std::string("''"),
          std::string("\xff\xfe\xc0"), std::string("Gr\xc3\xbc\xc3\x9f"), std::string("a\0b", 3),
          std::string("?1 :x @y"), std::string("5"), std::string("1e3"), std::string(" 7 "),
          std::string("\n\\"), huge, huge + huge}) {
        const std::string quoted = "'" + value + "'";
        statements.insert(
            statements.end(),
            {"INSERT OR REPLACE INTO T VALUES (" + quoted + ", 1, '2');",
             "INSERT OR REPLACE INTO T (A, N) VALUES ('k', " + quoted + ");",
             "UPDATE T SET A = " + quoted + " WHERE N = " + quoted + ";",
             "SELECT A, \"it's\" FROM T WHERE A = " + quoted + " OR N = " + quoted + ";",
             "SELECT N FROM T WHERE A LIKE " + quoted + " UNION SELECT N FROM T WHERE N = '2' ;",
             "SELECT A FROM T WHERE N IN (" + quoted + ", '1') ORDER BY UPPER(A) LIMIT '1';",
             "DELETE FROM T WHERE N = " + quoted + ";", "SELECT B FROM T WHERE A = " + quoted + ";",
             "SELECT A FROM U WHERE A = " + quoted + ";",
             "SELECT A FROM T WHERE A = " + value + ";"});
    }
    const auto kept = run(statements);
    const auto logOfKept = linesOfLog();
    EXPECT_GT(m_adapter.statementCache().hits(), 100);
    m_log.clear();
    m_adapter.statementCache().setCapacity(0);
    EXPECT_EQ(run(statements), kept);
    EXPECT_EQ(linesOfLog(), logOfKept);
}

TEST_F(StatementCacheTest, AChangedTableIsNoticed) {
    const std::string read = "SELECT * FROM T WHERE A = 'x';";
    (void)m_adapter.executeNonQuery("INSERT INTO T (A) VALUES ('x');");
    Rows rows;
    EXPECT_EQ(m_adapter.executeSQLQuery(read, rows), 0);
    EXPECT_EQ(rows.at(0).size(), 3U);
    sql("ALTER TABLE T ADD COLUMN C TEXT DEFAULT 'new';");  // by another connection
    EXPECT_EQ(m_adapter.executeSQLQuery(read, rows), 0);
    EXPECT_THAT(rows, ElementsAre(ElementsAre("x", "1", "", "new")));
    sql("DROP TABLE T;");
    EXPECT_EQ(m_adapter.executeSQLQuery(read, rows), 1);
    EXPECT_TRUE(m_log.has(3, "no such table: T"));
}

TEST_F(StatementCacheTest, TheOneUsedLongestAgoGoesAndOneInUseIsNotShared) {
    StatementCache& cache = m_adapter.statementCache();
    const auto read = [this](std::size_t column) {
        Rows rows;
        (void)m_adapter.executeSQLQuery("SELECT " + std::to_string(column) + " FROM T;", rows);
    };
    for (std::size_t i = 0; i < 2 * StatementCache::UsualCapacity; ++i) {
        read(i);
    }
    EXPECT_EQ(cache.size(), StatementCache::UsualCapacity);
    const auto hits = cache.hits();
    read(0);
    EXPECT_EQ(cache.hits(), hits);
    read(2 * StatementCache::UsualCapacity - 1);
    EXPECT_EQ(cache.hits(), hits + 1);

    sqlite3* db = nullptr;
    ASSERT_EQ(sqlite3_open(database().c_str(), &db), SQLITE_OK);
    {
        StatementCache own;
        const std::string text = "SELECT N FROM T WHERE A = 'x';";
        Statement first(own, db, text);
        const Statement second(own, db, text);
        EXPECT_TRUE(first.isKept() && second.isKept());
        EXPECT_EQ(own.size(), 1U);
        EXPECT_EQ(own.misses(), 2);
    }
    EXPECT_EQ(sqlite3_close(db), SQLITE_OK) << "a statement was left";
}
