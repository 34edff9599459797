#include "Method.h"

#include <gtest/gtest.h>

#include "Serializer.h"

namespace {

using Map = std::map<std::string, std::string>;

TEST(MethodTest, GettersSeeTheFirstParameterOfTheirNameAndOnlyInItsOwnType) {
    Method method("name");
    method.addStringParameter("text", "a", Parameter::in);
    method.addXMLParameter("xml", "<a/>", Parameter::out);
    method.addIntParameter("number", -7, Parameter::in);
    method.addBoolParameter("flag", true, Parameter::inout);
    method.addStringParameter("number", "hidden", Parameter::in);
    std::string text = "kept";
    int number = 0;
    bool flag = false;
    EXPECT_FALSE(method.getStringParameter("xml", text));
    EXPECT_FALSE(method.getXMLParameter("text", text));
    EXPECT_FALSE(method.getStringParameter("number", text));
    EXPECT_FALSE(method.getStringParameter("none", text));
    EXPECT_EQ(text, "kept");
    EXPECT_TRUE(method.getStringParameter("text", text) && text == "a");
    EXPECT_TRUE(method.getXMLParameter("xml", text) && text == "<a/>");
    EXPECT_TRUE(method.getIntParameter("number", number) && number == -7);
    EXPECT_TRUE(method.getBoolParameter("flag", flag) && flag);
}

TEST(SerializerTest, MapsComeBackAsTheyWere) {
    for (const Map& map : {Map{}, Map{{"", ""}},
                           Map{{"PhoneNumber", "+49 (89) 1"}, {"a\"b\\", "line\nfeed \xC3\xBC"}}}) {
        Map read{{"left", "over"}};
        EXPECT_TRUE(Serializer::deserialize(Serializer::serialize(map), read));
        EXPECT_EQ(read, map);
    }
    EXPECT_EQ(Serializer::serialize({{"b", "2"}, {"a", "1"}}), R"({"a":"1","b":"2"})");
    EXPECT_EQ(Serializer::serialize({{"k", "\xff"}}), "{\"k\":\"\xEF\xBF\xBD\"}");
}

TEST(SerializerTest, WhatIsNoObjectOfStringsGivesAnEmptyMap) {
    for (const char* const text :
         {"", "null", "[]", "[\"a\"]", "\"a\"", R"({"a":1})", R"({"a":{"b":"c"}})", R"({"a":"b")",
          "{\"a\":\"\xff\"}", R"({"a":"b"} more)"}) {
        Map map{{"left", "over"}};
        EXPECT_FALSE(Serializer::deserialize(text, map)) << text;
        EXPECT_TRUE(map.empty()) << text;
    }
}

}  // namespace
