#include "dao/DASUtils.h"

#include "testkit/RecordingAdapter.h"

namespace {

using DASUtilsTest = AdapterTest;
using TextForm = bool (*)(const std::string&);

}  // namespace

TEST_F(DASUtilsTest, QuotesAreDoubledOnceAndTakenBack) {
    struct {
        const char* text;
        const char* escaped;
        bool isSafe;  ///< between quotes, as it is
    } const rows[] = {{"", "", true},       {"plain", "plain", true}, {"it's", "it''s", false},
                      {"''", "''''", true}, {"'''", "''''''", false}, {"'a''", "''a''''", false}};
    for (const auto& row : rows) {
        EXPECT_EQ(DASUtils::escapeSqlReservedCharacters(row.text), row.escaped);
        EXPECT_EQ(DASUtils::unescapeSqlReservedCharacters(row.escaped), row.text);
        EXPECT_EQ(DASUtils::escapeAndQuote(row.text), "'" + std::string(row.escaped) + "'");
        EXPECT_EQ(DASUtils::isSafeBetweenQuotes(row.text), row.isSafe) << row.text;
    }
    EXPECT_EQ(DASUtils::convertToDBFormat("it's"), "'it's'");
    EXPECT_EQ(DASUtils::escapeReservedCharacter("a,b,", ',', '\\'), "a\\,b\\,");
    EXPECT_EQ(DASUtils::escapeSqlReservedString("a&apos;b&apos;&amp;apos;"), "a'b'&amp;apos;");
}

TEST_F(DASUtilsTest, OnlyTextsOfTheRightFormMayStandUnquoted) {
    const struct {
        const char* name;
        TextForm form;
        std::vector<const char*> good;
        std::vector<const char*> bad;
    } rows[] = {
        {"identifier",
         DASUtils::isIdentifier,
         {"0", "1017", " 7\n", "+7", "-7"},
         {"", " ", "+", "1 2", "0x1", "1;", "1--", "1 OR 1", "'1'", "1.5", "\xd9\xa1"}},
        {"number", DASUtils::isNumber, {"0", "+10", "-1"}, {"", " 1", "1 ", "-", "1,2"}},
        {"column",
         DASUtils::isResultColumn,
         {"Id", "_a1", "T.Id", "T.*"},
         {"", "*", ".", "T.", ".Id", "T.*;", "T.a.b", "a b", "a,b", "(a)", "a\"", "\xc3\xa4"}},
        {"pattern",
         DASUtils::isPattern,
         {"LIKE ''", "LIKE '%o''b_'"},
         {"", "LIKE '", "LIKE 'a", "LIKE 'o'b'", "LIKE '''", "like 'a'", " LIKE 'a'",
          "LIKE 'a' OR 'b'"}},
    };
    for (const auto& row : rows) {
        for (const char* text : row.good) {
            EXPECT_TRUE(row.form(text)) << row.name << " '" << text << "'";
        }
        for (const char* text : row.bad) {
            EXPECT_FALSE(row.form(text)) << row.name << " '" << text << "'";
        }
    }
}

TEST_F(DASUtilsTest, ARowThatCannotBeCountedIsNotInserted) {
    sql("CREATE TABLE T (UserContext TEXT, Id TEXT, A TEXT); INSERT INTO T VALUES ('base', '1', "
        "'old');");
    waitForNobody(m_adapter);
    const PairList values = {{"A", "'new'"}};
    auto blocker = std::make_unique<Blocker>(database());
    // The database is free again when a row would be written.
    m_adapter.intercept = [&](const std::string& statement) {
        if (statement.find("SELECT") != 0) {
            blocker.reset();
        }
        return 0;
    };
    EXPECT_EQ(DASUtils::updateRequestHelper(m_adapter, "1", "base", "T", values), 1);
    EXPECT_TRUE(m_log.has(2,
                          "updateRequestHelper() DatabaseAdapter::getRowCount() failed for "
                          "table='T' rowId='1' with code=1"));
    blocker.reset();
    EXPECT_EQ(sql("SELECT * FROM T"), (Rows{{"base", "1", "old"}}));
    EXPECT_EQ(DASUtils::updateRequestHelper(m_adapter, "1", "base", "T", values), 0);
    EXPECT_EQ(cell("SELECT A FROM T"), "new");
}
