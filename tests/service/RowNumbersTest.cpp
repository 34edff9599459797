// The numbers that clients and data files give rows, and those that the database goes on with.

#include "testkit/TableTest.h"

namespace {

using xml::element;
using xml::entry;

const std::string Highest = "9007199254740991";
const std::string TooHigh = "9223372036854775807";

/// A table whose rows the database numbers, and a request that stores a row.
struct Numbered {
    std::string schema;
    std::string table;
    std::string number;
    std::string field;
    std::string
        lineBehindNumber;  ///< of a data file, from its first field on with %s for the number
};

class RowNumbersTest : public TableTest {
protected:
    std::string write(const Numbered& of, const std::string& number) {
        xml::Fields fields = {{of.field, "x"}};
        if (!number.empty()) {
            fields.insert(fields.begin(), {of.number, number});
        }
        return reasonOf(of.schema, "write_request", entry(fields));
    }
    std::string numbers(const Numbered& of) const {
        return rowsOf("SELECT " + of.number + " FROM " + of.table + " ORDER BY 1");
    }
    void import(const Numbered& of, const std::string& number) {
        std::string line = of.lineBehindNumber;
        writeFile(onDevice("/tmp/in.csv"), line.replace(line.find("%s"), 2, number));
        EXPECT_TRUE(service().importData(of.schema, "/tmp/in.csv"));
    }

    const std::vector<Numbered> m_tables = {
        {"PhoneBook", "PHONE_BOOK", "UniqueID", "Surname", "base,%s,x\n"},
        {"CallLog", "CALL_LOG", "UniqueId", "EntryId", "base,%s,,x\n"},
        {"Conversations", "CONVERSATIONS", "UniqueId", "CallLogId", "%s,base,1,1\n"},
        {"DialPlanEntries", "DIAL_PLAN_ENTRIES", "Id", "Comment", "%s,x,,,,,\n"}};
};

}  // namespace

// One row at SQLite's highest number, and nothing could be added to its table any more.
TEST_F(RowNumbersTest, ANumberAboveTheHighestOneIsForRowsThatHaveIt) {
    for (const Numbered& of : m_tables) {
        SCOPED_TRACE(of.schema);
        EXPECT_EQ(write(of, "5"), "write_response");
        for (const std::string& number :
             {TooHigh, std::string("9007199254740992"), " +" + TooHigh, std::string("00") + TooHigh,
              std::string("9e18"), std::string("99999999999999999999")}) {
            EXPECT_EQ(write(of, number), "failure") << number;
        }
        import(of, TooHigh);
        EXPECT_EQ(numbers(of), "5;6;");
        EXPECT_EQ(write(of, Highest), "write_response");
        EXPECT_EQ(write(of, ""), "write_response");
        EXPECT_EQ(write(of, "9007199254740992"), "write_response") << "the database gave it";
        import(of, "9007199254740992");
        EXPECT_EQ(numbers(of), "5;6;" + Highest + ";9007199254740992;");
    }
    const std::string select = element("Select", element("UniqueID", "5"));
    EXPECT_EQ(reasonOf("PhoneBook", "update_request", select + entry({{"UniqueID", TooHigh}})),
              "failure");
    EXPECT_EQ(reasonOf("PhoneBook", "write_request",
                       entry({{"UniqueID", TooHigh}, {"Surname", "x"}}) +
                           entry({{"UniqueID", "4"}, {"Surname", "y"}})),
              "write_response");
    EXPECT_EQ(numbers(m_tables[0]), "4;5;6;" + Highest + ";9007199254740992;");
}

TEST_F(RowNumbersTest, AStartFreesTablesThatAreStuckAndKeepsWhatBelongsTogether) {
    for (const Numbered& of : m_tables) {
        (void)write(of, "3");
    }
    sql("DELETE FROM PHONE_BOOK; DELETE FROM CALL_LOG; DELETE FROM CONVERSATIONS;"
        "INSERT INTO PHONE_BOOK (UserContext, UniqueID, Surname) VALUES ('base', 3, 'a'), "
        "('base', " +
        TooHigh + ", 'c'), ('visitor', 9007199254740992, 'b');" +
        "INSERT INTO CALL_LOG (UserContext, UniqueId, Number0) VALUES ('base', 3, '7'), ('base', " +
        TooHigh + ", '8'); INSERT INTO CONVERSATIONS VALUES (1, 'base', '" + TooHigh + "', '" +
        TooHigh + "'), (2, 'base', '3', '3'), (" + TooHigh +
        ", 'visitor', '9007199254740992', '3');" + "INSERT INTO DIAL_PLAN_ENTRIES (Id) VALUES (" +
        TooHigh + "); DELETE FROM DIAL_PLAN_ENTRIES");
    for (int starts = 0; starts < 2; ++starts) {
        start();
        EXPECT_EQ(rowsOf("SELECT UniqueID, Surname FROM PHONE_BOOK"), "3|a;4|b;5|c;");
        EXPECT_EQ(rowsOf("SELECT UniqueId, Number0 FROM CALL_LOG"), "3|7;4|8;");
        EXPECT_EQ(rowsOf("SELECT * FROM CONVERSATIONS"), "1|base|5|4;2|base|3|3;3|visitor|4|3;");
    }
    const char* const next[] = {"3;4;5;6;", "3;4;5;", "1;2;3;4;", "1;"};
    for (std::size_t i = 0; i < m_tables.size(); ++i) {
        EXPECT_EQ(write(m_tables[i], ""), "write_response");
        EXPECT_EQ(numbers(m_tables[i]), next[i]);
    }
    sql("INSERT INTO PHONE_BOOK (UserContext, UniqueID, Surname) VALUES ('base', " + Highest +
        ", ''), ('base', " + TooHigh + ", '')");
    start();
    EXPECT_EQ(numbers(m_tables[0]), "1;3;4;5;6;" + Highest + ";") << "numbers that are free";
}
