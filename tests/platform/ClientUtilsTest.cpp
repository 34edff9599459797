#include "ClientUtils.h"

#include <gtest/gtest.h>

#include <climits>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "testkit/LogCapture.h"

namespace {

using Texts = std::vector<std::string>;

TEST(ClientUtilsTest, StoiTakesTheNumberAtTheFrontAndClampsIt) {
    const std::pair<const char*, int> rows[] = {{"", 0},
                                                {"abc", 0},
                                                {"42", 42},
                                                {" -7 apples", -7},
                                                {"010", 10},
                                                {"0x10", 0},
                                                {"2147483648", INT_MAX},
                                                {"-99999999999999999999999", INT_MIN}};
    for (const auto& [text, number] : rows) {
        EXPECT_EQ(number, ClientUtils::stoi(text)) << text;
    }
}

TEST(ClientUtilsTest, TokenizeKeepsAndTrimsAsToldTo) {
    const struct {
        const char* text;
        const char* separators;
        bool keepEmpty, trim;
        Texts pieces;
    } rows[] = {
        {"", ",", true, true, {}},
        {",", ",", true, false, {"", ""}},
        {"/data//images/", "/", true, false, {"", "data", "", "images", ""}},
        {" a , ,b", ",", false, false, {" a ", " ", "b"}},
        {" a , ,b", ",", false, true, {"a", "b"}},
        {"a b;c", "; ", false, false, {"a", "b", "c"}},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(row.pieces,
                  ClientUtils::tokenizeString(row.text, row.separators, row.keepEmpty, row.trim))
            << row.text << " at " << row.separators;
    }
}

TEST(ClientUtilsTest, EscapedTextComesBackWhole) {
    const std::string text = "<b=\"c\">&amp; 'x' & \xc3\xbc";
    const std::string escaped = ClientUtils::escapeXMLString(text);
    EXPECT_EQ("&lt;b=&quot;c&quot;&gt;&amp;amp; &apos;x&apos; &amp; \xc3\xbc", escaped);
    EXPECT_EQ(text, ClientUtils::unescapeXMLString(escaped));
}

TEST(ClientUtilsTest, UnescapeUndoesOneLevelAndLeavesOtherEntities) {
    const std::pair<const char*, const char*> rows[] = {{"&amp;lt;", "&lt;"},
                                                        {"&amp;amp;lt;", "&amp;lt;"},
                                                        {"&#10;&nbsp;", "&#10;&nbsp;"},
                                                        {"&LT;&lt", "&LT;&lt"},
                                                        {"", ""}};
    for (const auto& [escaped, plain] : rows) {
        EXPECT_EQ(plain, ClientUtils::unescapeXMLString(escaped)) << escaped;
    }
}

TEST(ClientUtilsTest, LinesAreCutAtCommasWithoutABackslash) {
    const std::pair<const char*, Texts> rows[] = {
        {"", {}},
        {",", {"", ""}},
        {"a,b,\r", {"a", "b", ""}},
        {"a\r,b\r\r", {"a\r", "b\r"}},
        {"Miller\\, Ann,2", {"Miller, Ann", "2"}},
        {"a\\,\\,,b", {"a,,", "b"}},
        {"a\\\\,b", {"a\\,b"}},
        {"C:\\dir\\n,b\\", {"C:\\dir\\n", "b\\"}},
        {"\"a,b\"", {"\"a", "b\""}},
    };
    for (const auto& [line, expected] : rows) {
        Texts fields = {"left over"};
        ClientUtils::splitString(line, fields);
        EXPECT_EQ(expected, fields) << line;
    }
}

TEST(ClientUtilsTest, HeaderGivesVersionAndPositionsOfTheWantedColumns) {
    std::istringstream stream("#$VERSION=12\r\n#$COLUMNS=Tag,Schema,Item\r\n1,2,3\n");
    int version = 0;
    std::vector<int> positions = {9};
    EXPECT_TRUE(ClientUtils::getVersion(stream, version));
    EXPECT_EQ(12, version);
    EXPECT_TRUE(ClientUtils::getColumnPositions(stream, {"Item", "Tag"}, positions));
    EXPECT_EQ((std::vector<int>{2, 0}), positions);
}

TEST(ClientUtilsTest, ALineIsReadWholeUpToALimitAndPassedOverBeyondIt) {
    using Line = ClientUtils::Line;
    for (const std::size_t size : {0U, 1U, 4094U, 4095U, 4096U, 8190U, 1048576U, 1048577U}) {
        std::istringstream stream(std::string(size, 'x') + "\nnext");
        std::string line = "older";
        const bool isRead = size <= ClientUtils::LongestLine;
        EXPECT_EQ(ClientUtils::readLine(stream, line), isRead ? Line::Read : Line::TooLong);
        EXPECT_EQ(line, std::string(isRead ? size : 0, 'x')) << size;
        EXPECT_EQ(ClientUtils::readLine(stream, line), Line::Read);
        EXPECT_EQ(line, "next");
        EXPECT_EQ(ClientUtils::readLine(stream, line), Line::End);
    }
    LogCapture log;
    std::istringstream stream(std::string(2000000, ',') + "\na,b\n");
    Texts fields;
    EXPECT_TRUE(ClientUtils::readLineFromCsvFileAndParse(stream, fields));
    EXPECT_EQ(fields, Texts());
    EXPECT_TRUE(log.has(2, "A line of more than 1048576 bytes is passed over"));
    EXPECT_TRUE(ClientUtils::readLineFromCsvFileAndParse(stream, fields));
    EXPECT_EQ(fields, (Texts{"a", "b"}));
}

TEST(ClientUtilsTest, SecretsAreKnownByTheirExactNameOrByAPartOfIt) {
    for (const std::string name :
         {"UserHashedPwd", "UserMD5Hash", "UserPassword", "WSIPassword", "QcuCommunity",
          "SnmpGetPassword", "SnmpTrapCommunity", "LdapPassword", "PIN", "SIPpassword",
          "FtpPassword", "LineSipPassword", "DssSipPassword", "BcaSipPassword", "SendUrlPasswd"}) {
        EXPECT_EQ("*****", ClientUtils::hidePasswordDAS(name, "secret")) << name;
        EXPECT_EQ("*****", ClientUtils::hidePasswordDAS(name + "Enc", "")) << name;
        EXPECT_FALSE(ClientUtils::isKnownPasswordDAS(name + "EncEnc")) << name;
    }
    for (const char* name : {"AdminPassword", "SIPPASSWORD", "myPaSsWdEnc", "pwd", "ppwd2"}) {
        EXPECT_FALSE(ClientUtils::isKnownPasswordDAS(name)) << name;
        EXPECT_EQ("*****", ClientUtils::hidePasswordDAS(name, "secret")) << name;
    }
    for (const char* name : {"", "Enc", "pin", "PINs", "PINEncEnc", "Passwor", "Pass Word", "pw"}) {
        EXPECT_EQ("open", ClientUtils::hidePasswordDAS(name, "open")) << name;
    }
}

}  // namespace
