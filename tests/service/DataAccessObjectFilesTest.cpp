#include "ClientUtils.h"
#include "testkit/DataFiles.h"
#include "testkit/RecordingAdapter.h"

namespace {

/// Rows with each pair of pieces that could disturb the format, in columns A, B and C. Values do
/// not end with a backslash or a carriage return, nor have a backslash before a comma: what it
/// drops.
Rows rowsOfAllPairs() {
    const std::vector<std::string> pieces = {",",  "\\", "'",  "\"", "#", "&amp;", " ",   "\t",
                                             "\r", ";",  "--", "%",  "ä", "\xFF",  "\x01"};
    Rows rows;
    for (const auto& one : pieces) {
        for (const auto& other : pieces) {
            if (one != "\\" || other != ",") {
                rows.push_back({"x" + one + other + ".", one + other + ".", ""});
            }
        }
    }
    return rows;
}

class DataAccessObjectFilesTest : public AdapterTest {
protected:
    /// Nothing here has to outlive a power cut.
    void SetUp() override { EXPECT_EQ(m_adapter.executeNonQuery("PRAGMA synchronous=OFF;"), 0); }

    /// Creates @p table again, with text columns. It uses the adapter, because a connection does
    /// not notice that another one has changed the number of columns.
    void makeTable(const std::string& table, const std::vector<std::string>& columns) {
        (void)m_adapter.executeNonQuery("DROP TABLE IF EXISTS " + table);
        (void)m_adapter.executeNonQuery("CREATE TABLE " + table + " (" +
                                        ClientUtils::join(columns, " TEXT, ") + " TEXT)");
    }
    void fill(const std::string& table, const Rows& rows) {
        TransactionGuard transaction(m_adapter);
        for (const auto& row : rows) {
            std::vector<std::string> texts;
            for (const auto& value : row) {
                texts.push_back(DASUtils::escapeAndQuote(value));
            }
            ASSERT_EQ(m_adapter.insertRow(table, {}, texts, nullptr), 0);
        }
    }
    void put(const std::string& text) { writeFile(onDevice(m_path), text); }
    std::string file() { return readFile(onDevice(m_path)); }

    bool exportT(std::string version, PairList conditions = {}) {
        return m_dao.exportTable("T", m_path, conditions, version);
    }

    bool isBetweenTransactions() {
        return m_adapter.executeNonQuery("BEGIN; END;") == 0 && lockIsFree(m_adapter);
    }

    std::string m_path = "/tmp/file.csv";
    std::vector<std::string> m_ab = {"A", "B"};
    InsertingObject m_dao{&m_adapter};
};

}  // namespace

TEST_F(DataAccessObjectFilesTest, WhatTheFormatCarriesComesBackAsItWent) {
    const Rows rows = rowsOfAllPairs();
    std::vector<std::string> columns = {"A", "B", "C"};
    makeTable("T", columns);
    fill("T", rows);
    const std::function<bool()> ways[] = {
        [&] { return exportT("") && m_dao.importTable("U", columns, m_path); },
        [&] { return exportT("7") && m_dao.importTable("U", columns, m_path); },
        [&] {
            return DASUtils::readFromTableAndWriteToFileWithColumns(&m_adapter, "T", m_path, {},
                                                                    columns) &&
                   DASUtils::recreateTableFromFile(&m_adapter, "U", m_path);
        },
        [&] {
            return DASUtils::readAllItemsFromTableAndWriteToFile(&m_adapter, "T", m_path, {}) &&
                   DASUtils::updateItemsInTableWithValuesFromFile(&m_adapter, "U", columns, m_path);
        },
    };
    for (const auto& way : ways) {
        makeTable("U", columns);
        EXPECT_TRUE(way());
        EXPECT_EQ(sql("SELECT * FROM U"), rows);
    }
}

TEST_F(DataAccessObjectFilesTest, AnExportHasAHeaderIfItHasAVersionAndRows) {
    makeTable("T", m_ab);
    put("older\n");
    EXPECT_TRUE(exportT("3"));
    EXPECT_EQ(file(), "");
    fill("T", {{"base", "1,2"}, {"visitor", ""}});
    EXPECT_TRUE(exportT("3"));
    EXPECT_EQ(file(), "#$VERSION=3\n#$COLUMNS=A,B\nbase,1\\,2\nvisitor,\n");
    std::string version;
    std::vector<std::string> columns;
    int count = 0;
    EXPECT_TRUE(m_dao.getMetadata(m_path, version, columns, count));
    EXPECT_EQ(version, "3");
    EXPECT_EQ(columns, m_ab);
    EXPECT_EQ(count, 2);
    EXPECT_TRUE(exportT(""));
    EXPECT_FALSE(m_dao.getMetadata(m_path, version, columns, count));
    EXPECT_EQ(version, "");
    EXPECT_EQ(count, 2) << "fields of the first line";
    version = "9";
    EXPECT_FALSE(m_dao.getMetadata("/missing", version, columns, count));
    EXPECT_EQ(version, "");
    EXPECT_EQ(count, 0);
    EXPECT_EQ(file(), "base,1\\,2\nvisitor,\n");
    EXPECT_TRUE(exportT("", {{"A", "'visitor'"}}));
    EXPECT_EQ(file(), "visitor,\n");
    const std::string whole = "#$VERSION=3\r\n#$COLUMNS=A,B\r\n";
    for (const std::string& text :
         {std::string(), whole.substr(0, 13), whole.substr(0, 17), whole}) {
        put(text);
        EXPECT_EQ(m_dao.getMetadata(m_path, version, columns, count), text == whole) << text;
        EXPECT_EQ(version, text.empty() ? "" : "3");
        EXPECT_EQ(columns, text == whole ? m_ab : std::vector<std::string>()) << text;
    }
}

TEST_F(DataAccessObjectFilesTest, LinesOfAFileAreRowsOfTheColumnsThatTheCallerNames) {
    struct {
        const char* text;
        std::vector<std::string> columns;
        const char* result;
        const char* log;
    } const rows[] = {
        {"a,b\n#c,d\n\ne,f", {"A", "B"}, "ab ef", "Importing /tmp/file.csv to T"},
        {"a,b,c\n", {"A", "B"}, "ab", ""},
        {"a\nc,d\n", {"A", "B"}, "cd", "/tmp/file.csv: line 1 is not stored:"},
        {"a,b\n", {"A", "X"}, "", "SQLite: ERROR 'table T has no column named X'"},
        {"o'a,'); DROP TABLE T; --\n", {"A", "B"}, "o'a'); DROP TABLE T; --", ""},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.text);
        makeTable("T", m_ab);
        put(row.text);
        m_log.clear();
        std::vector<std::string> columns = row.columns;
        EXPECT_TRUE(m_dao.importTable("T", columns, m_path));
        EXPECT_EQ(cell("SELECT ifnull(group_concat(A || B, ' '), '') FROM T"), row.result);
        EXPECT_TRUE(m_log.has(row.log));
        EXPECT_TRUE(lockIsFree(m_adapter));
    }
}

TEST_F(DataAccessObjectFilesTest, ShortLinesOfPhoneBookAndCallLogAreFilledUp) {
    struct {
        const char* table;
        const char* text;
        const char* result;
    } const rows[] = {
        {"PHONE_BOOK", "a\nb,c,d\n\n#e", "a--;b-c-d;#e--"},
        {"OLD_CALL_LOG_2", "a,b", "a-b-"},
        {"CALLLOG", "a,b\nc,d,e", "c-d-e"},
        {"PHONE_BOOK", "a,b,c,d", "a-b-c"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.text);
        const std::string table = row.table;
        std::vector<std::string> columns = {"A", "B", "C"};
        makeTable(table, columns);
        put(row.text);
        EXPECT_TRUE(m_dao.importDataFromFile(table, columns, m_path));
        EXPECT_EQ(cell("SELECT group_concat(A || '-' || B || '-' || C, ';') FROM " + table),
                  row.result);
    }
}

TEST_F(DataAccessObjectFilesTest, AnImportWithoutAFileOrWithoutACommitFails) {
    makeTable("T", m_ab);
    const std::function<bool()> ways[] = {
        [&] { return m_dao.importTable("T", m_ab, m_path); },
        [&] { return m_dao.importDataFromFile("T", m_ab, m_path); },
        [&] { return DASUtils::recreateTableFromFile(&m_adapter, "T", m_path); },
        [&] {
            return DASUtils::updateItemsInTableWithValuesFromFile(&m_adapter, "T", m_ab, m_path);
        },
    };
    for (const auto& way : ways) {
        std::filesystem::remove(onDevice(m_path));
        EXPECT_FALSE(way());
        EXPECT_TRUE(m_log.has(5, "error opening /tmp/file.csv"));
        put("A,B\na,b\n");
        for (const char* statement : {"BEGIN", "END"}) {
            m_adapter.intercept = failing(statement, 1, SQLITE_FULL);
            EXPECT_FALSE(way());
            m_adapter.intercept = {};
            (void)m_adapter.executeNonQuery("ROLLBACK;");
            EXPECT_EQ(cell("SELECT COUNT(*) FROM T"), "0");
            EXPECT_TRUE(lockIsFree(m_adapter));
        }
        m_log.clear();
    }
}

TEST_F(DataAccessObjectFilesTest, AMigrationMovesRowsByNameOrNotAtAll) {
    const Rows rows = {{"#a\nb", "1\\"}, {"", "2"}};
    const auto migrate = [&] {
        PairList columns = {{"C", "TEXT DEFAULT 'c'"}, {"B", "TEXT"}, {"A", "TEXT"}};
        return m_dao.migrateTable("T", columns, m_path);
    };
    makeTable("T", m_ab);
    fill("T", rows);
    m_adapter.intercept = failing("END", 1, SQLITE_IOERR);
    EXPECT_FALSE(migrate());
    m_adapter.intercept = {};
    EXPECT_EQ(sql("SELECT * FROM T"), rows);
    EXPECT_TRUE(isBetweenTransactions());
    EXPECT_TRUE(migrate());
    EXPECT_EQ(sql("SELECT A, B, C FROM T"), (Rows{{"#a\nb", "1\\", "c"}, {"", "2", "c"}}));
}
