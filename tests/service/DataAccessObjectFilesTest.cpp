#include <algorithm>
#include <random>

#include "ClientUtils.h"
#include "DataFiles.h"
#include "RecordingAdapter.h"

namespace {

/// Rows that the format carries: random values over all that it can, in one to five columns.
class RandomRows {
public:
    explicit RandomRows(unsigned seed) : m_random(seed) {}

    Rows rows() {
        Rows rows(upTo(30));
        m_columns = 1 + upTo(4);
        for (auto& row : rows) {
            for (std::size_t i = 0; i < m_columns; ++i) {
                row.push_back(value(i == 0));
            }
        }
        return rows;
    }
    std::vector<std::string> columns() const {
        const std::vector<std::string> all = {"A", "B", "C", "D", "E"};
        return {all.begin(), all.begin() + static_cast<std::ptrdiff_t>(m_columns)};
    }

private:
    std::size_t upTo(std::size_t last) {
        return std::uniform_int_distribution<std::size_t>(0, last)(m_random);
    }
    /// The first column is never blank, since a single column could not be so, and no comment.
    std::string value(bool isFirst) {
        static const std::vector<std::string> pieces = {
            ",", ",,", "\\", "'", "''", "\"", "#", "&amp;",        " ",    "\t",  "\r", "=",
            ";", "--", "a",  "Z", "0",  "%",  "ä", "\xE2\x82\xAC", "\xFF", "\x01"};
        std::string text = isFirst ? "x" : "";
        for (std::size_t length = upTo(8); length > 0; --length) {
            text += pieces[upTo(pieces.size() - 1)];
        }
        for (std::size_t at; (at = text.find("\\,")) != std::string::npos;) {
            text.erase(at, 1);
        }
        return text.empty() || (text.back() != '\\' && text.back() != '\r') ? text : text + ".";
    }

    std::mt19937 m_random;
    std::size_t m_columns = 0;
};

class DataAccessObjectFilesTest : public AdapterTest {
protected:
    /// Nothing here has to outlive a power cut.
    void SetUp() override { EXPECT_EQ(m_adapter.executeNonQuery("PRAGMA synchronous=OFF;"), 0); }

    /// Makes @p table anew, with columns of text. By the adapter: a connection does not see that
    /// another one has changed how many columns a table has.
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
    DataAccessObject m_updating{&m_adapter};
};

}  // namespace

TEST_F(DataAccessObjectFilesTest, WhatTheFormatCarriesComesBackAsItWent) {
    for (unsigned seed = 1; seed <= 40; ++seed) {
        SCOPED_TRACE(seed);
        RandomRows random(seed);
        const Rows rows = random.rows();
        std::vector<std::string> columns = random.columns();
        makeTable("T", columns);
        fill("T", rows);
        const std::function<bool()> ways[] = {
            [&] { return exportT("") && m_dao.importTable("U", columns, m_path); },
            [&] { return exportT("7") && m_dao.importTable("U", columns, m_path); },
            [&] {
                return DASUtils::readAllItemsFromTableAndWriteToFile(&m_adapter, "T", m_path, {}) &&
                       m_dao.importDataFromFile("U", columns, m_path);
            },
            [&] {
                return DASUtils::readFromTableAndWriteToFileWithColumns(&m_adapter, "T", m_path, {},
                                                                        columns) &&
                       DASUtils::recreateTableFromFile(&m_adapter, "U", m_path);
            },
            [&] {
                return DASUtils::readAllItemsFromTableAndWriteToFile(&m_adapter, "T", m_path, {}) &&
                       DASUtils::updateItemsInTableWithValuesFromFile(&m_adapter, "U", columns,
                                                                      m_path);
            },
        };
        for (const auto& way : ways) {
            makeTable("U", columns);
            EXPECT_TRUE(way());
            EXPECT_EQ(sql("SELECT * FROM U"), rows);
        }
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
    EXPECT_TRUE(exportT(""));
    EXPECT_EQ(file(), "base,1\\,2\nvisitor,\n");
    EXPECT_TRUE(exportT("", {{"A", "'visitor'"}}));
    EXPECT_EQ(file(), "visitor,\n");
    EXPECT_TRUE(m_log.has(5, "exporting to /tmp/file.csv"));
}

TEST_F(DataAccessObjectFilesTest, AFailedExportSaysSo) {
    EXPECT_FALSE(exportT(""));
    EXPECT_TRUE(m_log.has(2, "Table T is not written to /tmp/file.csv"));
    makeTable("T", m_ab);
    fill("T", Rows(2000, {"some", "row"}));
    {
        FileSizeLimit limit(1000);
        EXPECT_FALSE(exportT("1"));
    }
    EXPECT_TRUE(m_log.has(2, "Cannot write /tmp/file.csv: File too large"));
    m_path = "/missing/file.csv";
    EXPECT_FALSE(exportT(""));
    EXPECT_TRUE(m_log.has(2, "Cannot open /missing/file.csv for writing"));
    std::string version;
    PairList all;
    EXPECT_FALSE(DataAccessObject(nullptr).exportTable("T", "/tmp/file.csv", all, version));
}

TEST_F(DataAccessObjectFilesTest, MetadataIsThatOfTheHeader) {
    struct {
        const char* text;
        bool result;
        const char* version;
        std::vector<std::string> columns;
        int count;
        const char* log;
    } const rows[] = {
        {"#$VERSION=3\n#$COLUMNS=A,B\na,b\n", true, "3", {"A", "B"}, 2, ""},
        {"#$VERSION=\r\n#$COLUMNS=B,A,A\r\n", true, "", {"B", "A", "A"}, 3, ""},
        {"#$VERSION=3\n#$COLUMNS=", true, "3", {}, 0, ""},
        {"a,b\\,c,\nmore", false, "", {}, 3, "Reading metadata from /tmp/file.csv"},
        {" #$VERSION=3\n#$COLUMNS=A", false, "", {}, 1, ""},
        {"\n", false, "", {}, 0, ""},
        {"", false, "", {}, 0, "/tmp/file.csv is empty"},
        {"#$VERSION=3\n", false, "3", {}, 0, "Column names missing from /tmp/file.csv"},
        {"#$VERSION=3", false, "3", {}, 0, "Column names missing from /tmp/file.csv"},
        {"#$VERSION=3\nA,B\n", false, "3", {}, 0, "Invalid column names in /tmp/file.csv"},
        {"#$VERSION=3\n\n#$COLUMNS=A", false, "3", {}, 0, "Invalid column names in /tmp/file.csv"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.text);
        put(row.text);
        m_log.clear();
        std::string version = "before";
        std::vector<std::string> columns = {"before"};
        int count = 17;
        EXPECT_EQ(m_dao.getMetadata(m_path, version, columns, count), row.result);
        EXPECT_EQ(version, row.version);
        EXPECT_EQ(columns, row.columns);
        EXPECT_EQ(count, row.count);
        EXPECT_TRUE(m_log.has(row.log));
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
        {"b,a\n", {"B", "A"}, "ab", ""},
        {"a,b,c\n", {"A", "B"}, "ab", ""},
        {"a\nc,d\n", {"A", "B"}, "cd", "/tmp/file.csv: line 1 is not stored:"},
        {"a,b,c\n", {"A", "B", "A"}, "ab", ""},
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
    EXPECT_TRUE(m_log.has(6,
                          "PHONE_BOOK data columnCount issue. parseResults.size()=1 "
                          "numColumns=3"));
    EXPECT_TRUE(m_log.has(5, "Scanning complete"));
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

TEST_F(DataAccessObjectFilesTest, AFileThatShrinksWhileItIsReadEndsEarly) {
    class Shrinking : public InsertingObject {
    public:
        Shrinking(DatabaseAdapter* adapter, std::filesystem::path path)
            : InsertingObject(adapter), m_path(std::move(path)) {}
        int updateItemInTable(const std::string& table, std::vector<std::string>& names,
                              std::vector<std::string>& values) override {
            std::filesystem::resize_file(m_path, 5);
            return InsertingObject::updateItemInTable(table, names, values);
        }
        const std::filesystem::path m_path;
    } dao(&m_adapter, onDevice(m_path));
    makeTable("T", m_ab);
    std::string text;
    for (int i = 0; i < 20000; ++i) {
        text += "first,second\n";
    }
    put(text);
    EXPECT_TRUE(dao.importTable("T", m_ab, m_path));
    const std::string whole = cell("SELECT COUNT(*) FROM T WHERE A = 'first' AND B = 'second'");
    EXPECT_GT(std::stoi(whole), 0);
    EXPECT_LT(std::stoi(whole), 20000);
}

TEST_F(DataAccessObjectFilesTest, AMigratedTableHasItsRowsInItsNewColumns) {
    for (const Rows& rows : {Rows{{"a", "1,2"}, {"b", "o'clock"}}, Rows{}}) {
        makeTable("T", m_ab);
        fill("T", rows);
        PairList columns = {{"C", "TEXT DEFAULT 'c'"}, {"B", "TEXT"}, {"A", "TEXT"}};
        EXPECT_TRUE(m_dao.migrateTable("T", columns, m_path));
        EXPECT_EQ(sql("SELECT A, B FROM T"), rows);
        EXPECT_EQ(cell("SELECT COUNT(*) FROM T WHERE C = 'c'"), std::to_string(rows.size()));
    }
}

TEST_F(DataAccessObjectFilesTest, AMigrationThatFailsLeavesTheTableAsItWas) {
    const Rows rows = {{"a", "1"}, {"b", "2"}, {"c", "3"}};
    const PairList both = {{"A", "TEXT"}, {"B", "TEXT"}, {"C", "TEXT"}};
    struct {
        const char* name;
        std::string path;
        PairList columns;
        Rows rows;
        const char* failing;
        DataAccessObject* dao;
        const char* log;
    } const cases[] = {
        {"unwritable", "/missing/f.csv", both, rows, "", &m_dao, "Cannot export table T"},
        {"drop", m_path, both, rows, "DROP", &m_dao, "Cannot drop the table"},
        {"create", m_path, both, rows, "CREATE", &m_dao, "Cannot create table T, error="},
        {"a row", m_path, both, rows, "'b'", &m_dao, ""},
        {"commit", m_path, both, rows, "END", &m_dao, ""},
        {"a column less", m_path, {{"A", "TEXT"}}, rows, "", &m_dao, "no column named B"},
        {"comment", m_path, both, {{"#a", "1"}}, "", &m_dao, "does not have its 1 rows again"},
        {"line feed", m_path, both, {{"a\nb", "1"}}, "", &m_dao, "line 1 is not stored"},
        {"a class that updates", m_path, both, rows, "", &m_updating, "does not have its 3 rows"},
        {"no adapter", m_path, both, rows, "", nullptr, ""},
    };
    DataAccessObject unconnected;
    for (const auto& each : cases) {
        SCOPED_TRACE(each.name);
        makeTable("T", m_ab);
        fill("T", each.rows);
        m_log.clear();
        if (*each.failing != '\0') {
            m_adapter.intercept = failing(each.failing, 1, SQLITE_IOERR);
        }
        PairList columns = each.columns;
        DataAccessObject& dao = each.dao != nullptr ? *each.dao : unconnected;
        EXPECT_FALSE(dao.migrateTable("T", columns, each.path));
        m_adapter.intercept = {};
        EXPECT_EQ(sql("SELECT * FROM T"), each.rows);
        EXPECT_TRUE(m_log.has(each.log));
        EXPECT_TRUE(isBetweenTransactions());
    }
}
