#include <gtest/gtest.h>

#include <fstream>

#include "database/LoggedText.h"
#include "database/MaskedStatement.h"

using LoggedText::FailureSize;

namespace {

std::vector<std::string> columnsOf(const std::string& table) {
    if (table == "T") {
        return {"Name", "Value", "LineSipPassword", "Note"};
    }
    return table == "K" ? std::vector<std::string>{"A", "DssSipPasswordEnc"}
                        : std::vector<std::string>();
}

std::string logged(const std::string& text, std::size_t limit = LoggedText::WholeText) {
    return text[0] == '<' ? LoggedText::request(text, limit)
                          : MaskedStatement(text, columnsOf).text(limit);
}

}  // namespace

TEST(LoggedTextTest, AValueIsMaskedByWhatItStandsFor) {
    std::ifstream rows(DAS_SOURCE_DIR "/tests/service/logged_texts.txt");
    std::string text;
    std::string expected;
    int count = 0;
    while (std::getline(rows, text)) {
        if (text.empty() || text[0] == '#') {
            continue;
        }
        ASSERT_TRUE(std::getline(rows, expected)) << text;
        EXPECT_EQ(logged(text), expected == "=" ? text : expected);
        ++count;
    }
    EXPECT_GT(count, 30);
}

TEST(LoggedTextTest, AFailureIsCutAfterItIsMasked) {
    const std::string secret(9000, 's');
    EXPECT_EQ(logged("<PIN>" + secret + "</PIN>", FailureSize), "<PIN>*****</PIN>");
    EXPECT_EQ(logged("UPDATE T SET PIN = '" + secret + "';", FailureSize),
              "UPDATE T SET PIN = '*****';");
    for (const std::string start : {"<Note>", "UPDATE T SET Note = '"}) {
        const std::string whole = start + std::string(FailureSize - start.size(), 'x');
        EXPECT_EQ(logged(whole, FailureSize), whole);
        EXPECT_EQ(logged(whole + "yz", FailureSize), whole + "... and 2 more bytes");
        const std::string character = whole.substr(0, FailureSize - 1);
        EXPECT_EQ(logged(character + "\xe2\x82\xac", FailureSize),
                  character + "... and 3 more bytes");
    }
    // A secret at the cut is neither shown in part nor half a mask.
    const std::string before = "<Note>" + std::string(FailureSize - 12, 'x') + "<PIN>";
    EXPECT_EQ(logged(before + secret + "</PIN>", FailureSize),
              before + "*****... and 6 more bytes");
}

TEST(LoggedTextTest, AnErrorDoesNotRepeatASecret) {
    const MaskedStatement statement("UPDATE T SET PIN = 'secret", columnsOf);
    EXPECT_EQ(statement.error("unrecognized token: \"'secret\""),
              "unrecognized token: \"'*****'\"");
    EXPECT_EQ(statement.error("no such table: T"), "no such table: T");
}
