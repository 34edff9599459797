#include "BluetoothDAO.h"
#include "CertificateMgmtDAO.h"
#include "TableTest.h"

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
    std::string exported(const std::string& schema, eUserCategory category) {
        EXPECT_TRUE(service().exportData(schema, category, "/tmp/rows.csv"));
        return readFile(onDevice("/tmp/rows.csv"));
    }
};

}  // namespace

TEST_F(FurtherTablesTest, DefaultRowsAreThereFromTheFirstRequest) {
    const std::vector<std::pair<std::string, std::string>> cases = {
        {"FileDownloadSettings",
         "0|false|0||21||||||||0;1|true|0||21||||||||0;2|true|0||21||||||||0;"
         "3|true|0||21||||||||0;4|true|0||21||||||||0;5|true|0||21||||||||0;"
         "6|true|0||21||||||||0;7|true|0||21||||||||0;9|false|0||21||||||||0;"},
        {"DistinctiveRinging",
         "1||0||60;2||0||60;3||0||60;4||0||60;5||0||60;6||0||60;7||0||60;8||0||60;9||0||60;"
         "10||0||60;11||0||60;12||0||60;13||0||60;14||0||60;15||0||60;16||0||60;"},
        {"DialPlanEntries", ""},
        {"BluetoothTrusted", ""},
        {"CertificateKeys", ""},
    };
    for (const auto& [schema, rows] : cases) {
        EXPECT_EQ(reasonOf(schema, Read), "read_response");
        EXPECT_EQ(table(dao(schema)->tableName()), rows);
    }
    for (const char* schema : {"DssKeySettings", "ForwardingKeyDestinations", "Analytics"}) {
        EXPECT_EQ(reasonOf(schema, Read), "read_response");
    }
    EXPECT_EQ(rowsOf("SELECT * FROM DSS_KEY_SETTINGS WHERE Id = '1017'"),
              "base|1017||||||true|0|false|;visitor|1017||||||true|0|false|;");
    EXPECT_EQ(rowsOf("SELECT * FROM FORWARDING_KEY_DESTINATIONS WHERE Id = '32'"),
              "base|32||0;visitor|32||0;");
    EXPECT_EQ(rowsOf("SELECT * FROM ANALYTICS WHERE Id = '10'"), "base|10|0|;visitor|10|0|;");
}

TEST_F(FurtherTablesTest, ColumnsThatAMigrationLeavesOutHaveTheirDefaults) {
    ASSERT_EQ(dao("FileDownloadSettings")->createTable(), 0);
    sql("INSERT INTO FILEDOWNLOAD_SETTINGS_ENC (FileType, ServerAddress) VALUES ('5', 'host')");
    EXPECT_EQ(table("FILEDOWNLOAD_SETTINGS_ENC"), "5|true|0|host|21||||||||0;");
}

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
    EXPECT_EQ(dao("BluetoothBlacklisted")->initialiseMobilityUserData("base"), 0);
    EXPECT_EQ(table("BLUETOOTH_BLACKLISTED"), "");
}

TEST_F(FurtherTablesTest, BaseDevicesAreCopiedToTheVisitor) {
    reasonOf("BluetoothBlacklisted", Write, "<Id>a</Id>");
    reasonOf("BluetoothBlacklisted", Write, context("visitor", "<Id>b</Id>"));
    EXPECT_EQ(dao("BluetoothBlacklisted")->copyBaseDataToVisitor(), 0);
    EXPECT_EQ(table("BLUETOOTH_BLACKLISTED"), "base|a||;visitor|a||;");
}

TEST_F(FurtherTablesTest, CertificatesAndTheirKeysAreTablesOfOneClass) {
    EXPECT_EQ(reasonOf("Certificates", Write, "<Id>root</Id><Issuer>CA</Issuer>"),
              "write_response");
    EXPECT_EQ(reasonOf("CertificateKeys", Write, "<Id>k1</Id><KeyType>RSA</KeyType>"),
              "write_response");
    EXPECT_EQ(table("CERTIFICATES"), "root||||CA|;");
    EXPECT_EQ(table("CERTIFICATE_KEYS"), "k1||RSA|;");
    EXPECT_EQ(
        send("CertificateKeys", "readall_request", "<Id>k2</Id>"),
        xml::message(
            "CertificateKeys", "readall_response",
            entry({{"Id", "k1"}, {"CertificateId", ""}, {"KeyType", "RSA"}, {"FileName", ""}})));
    EXPECT_EQ(reasonOf("FileDownloadSettings", "readall_request"), "failure");
    EXPECT_EQ(reasonOf("Certificates", Delete, "<Issuer>CA</Issuer>"), "failure");
    // An object that is not made for a schema takes the table that the request names.
    CertificateMgmtDAO certificates(static_cast<DatabaseAdapter*>(service().getAdapter()));
    const std::string request = xml::message("CertificateKeys", Read);
    certificates.handleRequest(request.c_str(), static_cast<int>(request.size()));
    EXPECT_NE(certificates.getResponseMsg().find("<KeyType>RSA</KeyType>"), std::string::npos);
}

TEST_F(FurtherTablesTest, ObjectsWithoutADatabaseFailInEachOperation) {
    BluetoothDAO devices(nullptr, "BluetoothTrusted");
    std::vector<std::string> names = {"UserContext", "Id"};
    std::string count;
    std::string file = "/tmp/rows.csv";
    EXPECT_EQ(devices.writeRequest() + devices.updateRequest() + devices.readRequest() +
                  devices.deleteRequest() + devices.insertDefaultRows() +
                  devices.getRowCount(count) + devices.updateItemInTable("T", names, names) +
                  devices.importData(file) +
                  devices.importDataForUser(file, eUserCategory::visitor),
              9);
}

TEST_F(FurtherTablesTest, FilesHoldTheRowsOfAUserOrThoseOfTheTelephone) {
    reasonOf("Analytics", Update, "<Id>3</Id><AnalyticsCounter>7</AnalyticsCounter>");
    EXPECT_EQ(exported("Analytics", base),
              "base,1,0,\nbase,2,0,\nbase,3,7,\nbase,4,0,\nbase,5,0,\nbase,6,0,\nbase,7,0,\n"
              "base,8,0,\nbase,9,0,\nbase,10,0,\n");
    reasonOf("Certificates", Write, "<Id>a,b</Id>");
    EXPECT_EQ(exported("Certificates", visitor), "a\\,b,,,,,\n");
    PairList names;
    dao("Analytics")->buildColumnNameList(names);
    EXPECT_EQ(names.size(), 4U);
}

TEST_F(FurtherTablesTest, LinesThatFitAreImportedAndOthersLeftOut) {
    importFile("Analytics",
               "base,1,O'Brien,x\nbase,2\nvisitor,1;DROP TABLE ANALYTICS,9,\n"
               "base,99,new & old,\n'; DROP TABLE ANALYTICS; --,3,1,\n");
    EXPECT_EQ(rowsOf("SELECT * FROM ANALYTICS WHERE AnalyticsCounter <> '0'"),
              "base|1|O'Brien|x;base|99|new & old|;'; DROP TABLE ANALYTICS; --|3|1|;");
    importFile("DialPlanEntries", ",12,dial,,,,\n7,34,,,,,it's\nseven,56,,,,,\n8,78\n");
    EXPECT_EQ(table("DIAL_PLAN_ENTRIES"), "1|12|dial||||;7|34|||||it's;");
    m_log.clear();
    std::string missing = "/tmp/missing.csv";
    EXPECT_EQ(dao("Analytics")->importData(missing), 1);
    EXPECT_EQ(dao("Analytics")->importDataForUser(missing, visitor), 1);
    EXPECT_EQ(m_log.count("error opening /tmp/missing.csv"), 2);
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
