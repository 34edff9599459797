#include "DASMigrator.h"
#include "DeviceDataReader.h"
#include "GenConfigDeviceDataItems.h"
#include "ServiceTest.h"

namespace {

const std::string Path = "/Aurel_Deploy/DasGenConfigDeviceDataItems.csv";

using Items = std::map<std::string, GenConfigDeviceDataItems::SchemaItem>;

class DeviceDataItemsTest : public PlaceTest {
protected:
    void TearDown() override { GenConfigDeviceDataItems::clearDeviceItemMap(); }

    /// Reads what stands at the list's place, and gives how many schemas it knows.
    std::size_t read() const {
        GenConfigDeviceDataItems::populateDeviceDataItemMapFromFile(Path);
        Items items;
        GenConfigDeviceDataItems::getDeviceItemMap(items);
        return items.size();
    }
    std::size_t read(const std::string& text) const {
        writeFile(onDevice(Path), text);
        return read();
    }
    static bool isDevice(const std::string& schema, const std::string& item) {
        return GenConfigDeviceDataItems::isItemDeviceData(schema, item);
    }
};

}  // namespace

TEST_F(DeviceDataItemsTest, LinesSayWhatBelongsToTheDevice) {
    struct {
        const char* name;
        const char* text;
        std::size_t schemas;
        bool isAddr;
        bool isPort;
    } cases[] = {
        {"only comments", "# Net,Addr\n\n#Net\n\r\n", 0, false, false},
        {"whole schema", "Net\n", 1, true, true},
        {"whole schema twice, carriage returns", "Net\r\nNet\r\n", 1, true, true},
        {"whole schema less one", "Net\nNet,Addr,false\n", 1, false, true},
        {"only what is excluded", "Net,Addr,false\n", 1, false, true},
        {"included beats excluded", "Net,Addr\nNet,Port,false\nNet,Addr,false\n", 1, true, false},
        {"true has no effect", "Net,Addr,true\n", 0, false, false},
        {"other words neither", "Net,Addr,False\nNet,Addr,\nNet,Port,false \n", 0, false, false},
        {"four fields", "Net,Addr,false,\nNet,Addr,x,y\n", 0, false, false},
        {"blank in front of the mark", " # Net\n#\nNet,Addr", 2, true, false},
        {"no last line feed", "Net,Port\nNet,Addr", 1, true, true},
        {"blanks count", "Net ,Addr\nNet, Addr\n", 2, false, false},
        {"second field blank", "Net,\n", 1, false, false},
        {"other case", "net\nNET\n", 2, false, false},
    };
    for (const auto& each : cases) {
        EXPECT_EQ(read(each.text), each.schemas) << each.name;
        EXPECT_EQ(isDevice("Net", "Addr"), each.isAddr) << each.name;
        EXPECT_EQ(isDevice("Net", "Port"), each.isPort) << each.name;
        EXPECT_FALSE(isDevice("Other", "Addr")) << each.name;
    }
}

TEST_F(DeviceDataItemsTest, ListThatCannotBeReadMakesNothingDeviceData) {
    const auto file = onDevice(Path);
    EXPECT_EQ(read("Net\n"), 1U);
    std::filesystem::remove(file);
    EXPECT_EQ(read(), 0U) << "missing";
    std::filesystem::create_symlink(file, file);
    EXPECT_EQ(read(), 0U) << "can't be opened";
    std::filesystem::remove(file);
    std::filesystem::create_directory(file);
    EXPECT_EQ(read(), 0U) << "a folder";
    EXPECT_TRUE(m_log.entries().empty());
}

TEST_F(DeviceDataItemsTest, LongListIsReadWhole) {
    std::string text;
    for (int i = 0; i < 100000; ++i) {
        text += "Net" + std::to_string(i % 1000) + ",Item" + std::to_string(i) + "\n";
    }
    EXPECT_EQ(read(text + std::string(1 << 20, 'x')), 1001U);
    EXPECT_TRUE(isDevice("Net999", "Item99999"));
    EXPECT_FALSE(isDevice("Net999", "Item99998"));
}

TEST_F(DeviceDataItemsTest, ReaderAddsToWhatItHasRead) {
    DeviceDataReader reader;
    EXPECT_THROW(reader.isComment({}), std::out_of_range);
    EXPECT_TRUE(reader.isLineIgnored({}));
    reader.processLine();
    for (const char* text : {"Net,Addr", "Net,Addr\nNet,Port\n"}) {
        writeFile(onDevice(Path), text);
        reader.readFile(Path);
    }
    EXPECT_EQ(reader.getDeviceItemMap()["Net"].included,
              (std::vector<std::string>{"Addr", "Addr", "Port"}));
}

TEST_F(DeviceDataItemsTest, ShippedListLeavesToTheUserWhatAStartMovesToHim) {
    std::filesystem::copy_file(DAS_DEPLOY_DIR + std::string("/DasGenConfigDeviceDataItems.csv"),
                               onDevice(Path));
    EXPECT_GT(read(), 0U);
    struct {
        const char* schema;
        const char* item;
        bool isDevice;
    } cases[] = {
        {"MobilitySettings", "MobilityCurrentUser", true},
        {"TransportSettings", "PhoneIPaddress", true},
        {"AcmsSettings", "DoorOpener1DirectVideo", true},
        {"AcmsSettings", "WbmAllowed", false},
        {"SipBaseSettings", "SIPtransport", true},
        {"SipBaseSettings", "SIPtransportUser", false},
        {"SipBaseSettings", "SIPoutboundProxyUser", false},
        {"SipBaseSettings", "SIPintermediateProxyAddressUser", false},
        {"SipBaseSettings", "SIPintermediateProxyPortUser", false},
        {"SipBaseSettings", "BackupSIPServerPort", true},
        {"ClockSettings", "DaylightSavingZoneIDDevice", true},
        {"ClockSettings", "TimeFormat", false},
        {"DlsSettings", "DLSsecurePortDevice", true},
        {"DisplaySettings", "MessageWaitLED", true},
        {"DisplaySettings", "LandingScreen", false},
        {"DisplaySettings", "DisplayDTMFDigits", false},
        {"CertificatePolicy", "WlanAuthenticationPolicy", false},
        {"WSISettings", "WSIPassword", false},
        {"Locale", "Language", false},
        {"CanonicalDial", "LocalCountryCode", false},
    };
    for (const auto& each : cases) {
        EXPECT_EQ(isDevice(each.schema, each.item), each.isDevice) << each.item;
    }
}

TEST_F(DeviceDataItemsTest, TablesAreMadeOnlyWithAService) {
    DASMigrator::createTable(nullptr, "AudioSettings");
    DASMigrator::createTableAndDefaultRows(nullptr, "AudioSettings");
    EXPECT_EQ(m_log.count("No table for schema 'AudioSettings'"), 2);
}
