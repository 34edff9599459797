// Imports of texts: what stands in one transaction, and what a trial leaves.

#include "database/AdapterGuards.h"
#include "database/DatabaseAdapter.h"
#include "testkit/ServiceTest.h"

namespace {

class TextImportTest : public ServiceTest {
protected:
    std::string tables() const {
        return cell(
            "SELECT group_concat(name) FROM (SELECT name FROM sqlite_master ORDER BY name)");
    }
    std::string surnames() const {
        return cell(
            "SELECT group_concat(Surname) FROM (SELECT Surname FROM PHONE_BOOK ORDER BY 1)");
    }
};

}  // namespace

TEST_F(TextImportTest, ATrialLeavesNoTableThatTheImportWouldMake) {
    const std::string before = tables();
    for (const char* schema : {"DialPlanEntries", "DistinctiveRinging", "BluetoothTrusted"}) {
        const DASImport trial{schema, "", true};
        EXPECT_TRUE(service().importRows(trial, {"Id"}, {{"1"}}).isDone) << schema;
        EXPECT_EQ(tables(), before) << schema;
    }
    const DASImported text =
        service().importText({"DistinctiveRinging", "", true}, "1,Name,0,,60\n");
    EXPECT_TRUE(text.isDone);
    EXPECT_EQ(text.stored, 1U);
    EXPECT_EQ(tables(), before);
}

TEST_F(TextImportTest, ARowThatIsRefusedKeepsOutTheOthersAndLeavesTheOldOnes) {
    ASSERT_TRUE(service().importText({"PhoneBook", ""}, "base,,Old\n").isDone);
    for (const char* user : {"", "base"}) {
        const DASImported result =
            service().importText({"PhoneBook", user},
                                 "base,,New\nbase,1,2,3,4,5,6,7,8,9,10,11,12,13,14,"
                                 "15,16,17,18,19,20,21\n");
        EXPECT_FALSE(result.isDone);
        EXPECT_EQ(result.refusal, "1 of its rows are refused");
        EXPECT_EQ(surnames(), "Old");
    }
    const DASImported rows = service().importRows({"PhoneBook", "base"}, {"UniqueID", "Surname"},
                                                  {{"", "New"}, {"no number", "Newer"}});
    EXPECT_FALSE(rows.isDone);
    EXPECT_EQ(rows.refusedRow, 1U);
    EXPECT_EQ(surnames(), "Old");
}

TEST_F(TextImportTest, AnInnerTransactionThatIsRolledBackTakesTheOuterOneWithIt) {
    DatabaseAdapter& adapter = *service().getAdapter();
    const auto insert = [&](const std::string& name) {
        return adapter.executeNonQuery("INSERT INTO PHONE_BOOK (Surname) VALUES ('" + name + "');");
    };
    ASSERT_TRUE(service().importText({"PhoneBook", ""}, "base,,Old\n").isDone);
    for (const bool isKept : {false, true}) {
        const int code = runWholeWithInner(adapter, [&] {
            EXPECT_EQ(insert("Outer"), 0);
            const bool isInnerDone =
                runWholeOrNot(adapter, [&] { return insert("Inner") == 0 && isKept; });
            EXPECT_EQ(isInnerDone, isKept);
            return 0;
        });
        EXPECT_EQ(code == 0, isKept);
        EXPECT_EQ(surnames(), isKept ? "Inner,Old,Outer" : "Old");
    }
}
