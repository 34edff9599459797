#include "Serializer.h"

#include <gtest/gtest.h>

namespace {

using Map = std::map<std::string, std::string>;

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
