#include "ServiceTest.h"

using PlainTablesTest = ServiceTest;

TEST_F(PlainTablesTest, FirstReadMakesTheTableWithTheRowsOfBothUsers) {
    const std::string answer = send("FeatureKeys", "read_request");
    EXPECT_NE(answer.find("<Id>1017</Id>"), std::string::npos);
    EXPECT_EQ(cell("SELECT COUNT(*) FROM FEATURE_KEYS"), "354");
}
