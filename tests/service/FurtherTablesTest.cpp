#include "testkit/TableTest.h"

namespace {

using xml::context;
using xml::element;
using xml::entry;

const char* const Write = "write_request";
const char* const Update = "update_request";
const char* const Read = "read_request";
const char* const Delete = "delete_request";

class FurtherTablesTest : public TableTest {
protected:
    std::string table(const std::string& name) const { return rowsOf("SELECT * FROM " + name); }
    void importFile(const std::string& schema, const std::string& text) {
        writeFile(onDevice("/tmp/rows.csv"), text);
        EXPECT_TRUE(service().importData(schema, "/tmp/rows.csv"));
    }
    void importForUser(const std::string& schema, eUserCategory category, const std::string& text) {
        writeFile(onDevice("/tmp/rows.csv"), text);
        EXPECT_TRUE(service().importData(schema, category, "/tmp/rows.csv"));
    }
};

}  // namespace

TEST_F(FurtherTablesTest, DialPlanEntriesGetTheirNumbersAndAreDeletedByWhatTheyHold) {
    const auto digits = [](const char* text) { return element("DigitString", text); };
    EXPECT_EQ(reasonOf("DialPlanEntries", Write,
                       element("Entry", digits("1x")) + element("Entry", digits("2x")) +
                           element("Entry", digits("2x"))),
              "write_response");
    EXPECT_EQ(reasonOf("DialPlanEntries", Write, "<Id>2</Id>" + digits("3x")), "write_response");
    EXPECT_EQ(reasonOf("DialPlanEntries", Write, "<Id>two</Id>" + digits("4x")), "failure");
    EXPECT_EQ(rowsOf("SELECT Id, DigitString FROM DIAL_PLAN_ENTRIES"), "1|1x;2|3x;3|2x;");
    EXPECT_EQ(reasonOf("DialPlanEntries", Delete), "failure");
    EXPECT_EQ(reasonOf("DialPlanEntries", Update, "<Id>1</Id>" + digits("4x")), "failure");
    EXPECT_EQ(reasonOf("DialPlanEntries", Delete, digits("2x")), "delete_response");
    EXPECT_EQ(reasonOf("DialPlanEntries", Delete, "<Id>1</Id>" + digits("9x")), "delete_response");
    EXPECT_EQ(
        dataOf("DialPlanEntries", element("ResultCols", "DigitString Id")),
        entry({{"DigitString", "1x"}, {"Id", "1"}}) + entry({{"DigitString", "3x"}, {"Id", "2"}}));
}

TEST_F(FurtherTablesTest, BluetoothListsAreApartByKindAndUser) {
    const std::string address = "<Id>00:1A:7D:DA:71:13</Id>";
    const std::string headset = address + "<DeviceName>O'Brien's</DeviceName>";
    const std::string trusted = "BluetoothTrusted";
    EXPECT_EQ(reasonOf(trusted, Write, headset), "write_response");
    EXPECT_EQ(reasonOf(trusted, Write, context("visitor", headset)), "write_response");
    EXPECT_EQ(reasonOf(trusted, Write, headset + "<UserContext>visitor</UserContext>"),
              "write_response");
    EXPECT_EQ(reasonOf("BluetoothBlacklisted", Write, "<Id>x' OR '1'='1</Id>"), "write_response");
    EXPECT_EQ(reasonOf(trusted, Update, address + "<DeviceClass>4</DeviceClass>"),
              "update_response");
    EXPECT_EQ(table("BLUETOOTH_TRUSTED"),
              "visitor|00:1A:7D:DA:71:13|O'Brien's|;base|00:1A:7D:DA:71:13|O'Brien's|4;");
    EXPECT_EQ(table("BLUETOOTH_BLACKLISTED"), "base|x' OR '1'='1||;");
    EXPECT_EQ(dataOf(trusted, context("visitor", "")),
              context("visitor", entry({{"Id", "00:1A:7D:DA:71:13"},
                                        {"DeviceName", "O'Brien's"},
                                        {"DeviceClass", ""}})));
    EXPECT_EQ(reasonOf(trusted, Delete, "<DeviceName>O'Brien's</DeviceName>"), "failure");
    EXPECT_EQ(reasonOf(trusted, Delete, address), "delete_response");
    EXPECT_EQ(table("BLUETOOTH_TRUSTED"), "visitor|00:1A:7D:DA:71:13|O'Brien's|;");
    EXPECT_EQ(dao(trusted)->initialiseMobilityUserData("visitor"), 0);
    EXPECT_EQ(table("BLUETOOTH_TRUSTED"), "");
}

TEST_F(FurtherTablesTest, ASchemaInsideOfARequestReachesNoOtherTable) {
    reasonOf("Certificates", Write, "<Id>1</Id>");
    reasonOf("CertificateKeys", Write, "<Id>1</Id><Schema>x</Schema>");
    reasonOf("CertificateKeys", Delete, "<Id>1</Id><Schema name=\"Certificates\"/>");
    EXPECT_EQ(table("CERTIFICATES"), "1|||||;");
    EXPECT_EQ(table("CERTIFICATE_KEYS"), "");
    reasonOf("Certificates", Write, "<Id>2</Id>");
    EXPECT_EQ(xml::valuesOf(send("Certificates", "readall_request", "<Id>1</Id>"), "Id"), "1|2");
}

TEST_F(FurtherTablesTest, LinesThatFitAreImportedAndOthersLeftOut) {
    importFile("Analytics",
               "base,1,O'Brien,x\nbase,2\nvisitor,1;DROP TABLE ANALYTICS,9,\n"
               "base,99,new & old,\n'; DROP TABLE ANALYTICS; --,3,1,\n");
    EXPECT_EQ(rowsOf("SELECT * FROM ANALYTICS WHERE AnalyticsCounter <> '0'"),
              "base|1|O'Brien|x;base|99|new & old|;'; DROP TABLE ANALYTICS; --|3|1|;");
    importFile("DialPlanEntries", ",12,dial,,,,\n7,34,,,,,it's\nseven,56,,,,,\n8,78\n");
    EXPECT_EQ(table("DIAL_PLAN_ENTRIES"), "1|12|dial||||;7|34|||||it's;");
}

TEST_F(FurtherTablesTest, RowsOfAUserAreReplacedByThoseOfAFile) {
    reasonOf("Analytics", Update,
             context("visitor", "<Id>1</Id><AnalyticsLastUsed>y</AnalyticsLastUsed>"));
    importForUser("Analytics", visitor, "base,2,5,z\n");
    EXPECT_EQ(rowsOf("SELECT * FROM ANALYTICS WHERE AnalyticsCounter <> '0' OR AnalyticsLastUsed "
                     "<> ''"),
              "visitor|2|5|z;");
    reasonOf("BluetoothTrusted", Write, "<Id>a</Id>");
    reasonOf("BluetoothTrusted", Write, context("visitor", "<Id>b</Id>"));
    importForUser("BluetoothTrusted", base, "visitor,c,,\n,d,,\n");
    EXPECT_EQ(table("BLUETOOTH_TRUSTED"), "visitor|b||;base|c||;base|d||;");
    importForUser("Certificates", base, "a,,,,,\n");
    EXPECT_EQ(reasonOf("Certificates", Read), "read_response");
    EXPECT_EQ(table("CERTIFICATES"), "");
}
