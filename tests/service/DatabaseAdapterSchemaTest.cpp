#include "testkit/RecordingAdapter.h"

using ::testing::ElementsAre;

using DatabaseAdapterSchemaTest = AdapterTest;

TEST_F(DatabaseAdapterSchemaTest, DropTableKeepsEmptyTablesButTheCallLog) {
    sql("CREATE TABLE T (A); CREATE TABLE CALL_LOG (A); CREATE TABLE Full (A); "
        "INSERT INTO Full VALUES (1);");
    const std::pair<const char*, int> rows[] = {
        {"T", 1}, {"Gone", 1}, {"CALL_LOG", 0}, {"CALL_LOG", SQLITE_ERROR}, {"Full", 0}};
    for (const auto& [table, result] : rows) {
        EXPECT_EQ(m_adapter.dropTable(table), result) << table;
    }
    EXPECT_TRUE(m_log.has(5, "DROP TABLE Full;"));
    EXPECT_EQ(sql("SELECT name FROM sqlite_master"), (Rows{{"T"}}));
}

TEST_F(DatabaseAdapterSchemaTest, AddedColumnsTakeTheDefaultOfTheirType) {
    sql("CREATE TABLE T (A); INSERT INTO T VALUES (1);");
    EXPECT_EQ(m_adapter.addColumn("T", "B", "INTEGER", true), 0);
    EXPECT_EQ(m_adapter.addColumn("T", "C", "TEXT", true), 0);
    EXPECT_EQ(m_adapter.addColumn("T", "D", "INTEGER", false), 0);
    EXPECT_EQ(m_adapter.addColumn("T", "D", "TEXT", true), SQLITE_ERROR);
    EXPECT_THAT(m_adapter.statements, ElementsAre("ALTER TABLE T ADD COLUMN B INTEGER DEFAULT '0'",
                                                  "ALTER TABLE T ADD COLUMN C TEXT DEFAULT ''",
                                                  "ALTER TABLE T ADD COLUMN D INTEGER",
                                                  "ALTER TABLE T ADD COLUMN D TEXT DEFAULT ''"));
    EXPECT_EQ(sql("SELECT B, C = '', D IS NULL FROM T"), (Rows{{"0", "1", "1"}}));
}

TEST_F(DatabaseAdapterSchemaTest, MissingIndicesAreMadeOnce) {
    sql("CREATE TABLE T (A, B)");
    EXPECT_FALSE(m_adapter.indexExists("T", "A_INDEX"));
    for (int round = 0; round < 2; ++round) {
        m_adapter.createIndicesForTable("T", {"A", "Gone", "B"});
        EXPECT_TRUE(m_adapter.indexExists("T", "B_INDEX")) << "a failure does not end the walk";
    }
    EXPECT_EQ(m_adapter.count("CREATE INDEX A_INDEX  ON T ( A );"), 1);
    EXPECT_EQ(m_adapter.count("CREATE INDEX Gone_INDEX  ON T ( Gone );"), 2);
    EXPECT_EQ(m_adapter.count("PRAGMA index_info( A_INDEX );"), 3);
    EXPECT_TRUE(m_adapter.indexExists("another table", "A_INDEX"));
}

TEST_F(DatabaseAdapterSchemaTest, OnlyTablesWithRowsAreRenamed) {
    sql("CREATE TABLE T (A); CREATE TABLE Full (A); INSERT INTO Full VALUES (1);");
    EXPECT_EQ(m_adapter.alterTableName("T", "New"), 1);
    EXPECT_TRUE(m_log.has(2, "DatabaseAdapter::alterTableName TABLE T does not exist"));
    EXPECT_EQ(m_adapter.alterTableName("Full", "T"), SQLITE_ERROR);
    EXPECT_EQ(m_adapter.alterTableName("Full", "New"), 0);
    EXPECT_EQ(m_adapter.count("ALTER TABLE Full RENAME TO New;"), 1);
    EXPECT_EQ(cell("SELECT A FROM New"), "1");
}

TEST_F(DatabaseAdapterSchemaTest, RowsAreCopiedByColumnName) {
    sql("CREATE TABLE T (A, B, C); INSERT INTO T VALUES (1, 2, 3), (4, NULL, 'x''');"
        "CREATE TABLE U (D, C, A);");
    EXPECT_EQ(m_adapter.copyDataOfTableToAnother("T", "U", {"B"}), 0);
    EXPECT_EQ(m_adapter.statements.back(), "INSERT INTO U(A, C) SELECT A, C FROM T;");
    EXPECT_EQ(sql("SELECT A, C, D IS NULL FROM U"), (Rows{{"1", "3", "1"}, {"4", "x'", "1"}}));
    EXPECT_EQ(m_adapter.copyDataOfTableToAnother("Gone", "U", {}), 1);
    EXPECT_TRUE(m_log.has(2, "copyDataOfTableToAnother - getColumnNames failed"));
}
