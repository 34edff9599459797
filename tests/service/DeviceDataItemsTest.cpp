#include "DeviceDataReader.h"

#include <sstream>

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

TEST_F(DeviceDataItemsTest, LineWithoutFieldsIsIgnoredAndNoComment) {
    DeviceDataReader reader;
    EXPECT_TRUE(reader.isLineIgnored({}));
    EXPECT_THROW(reader.isComment({}), std::out_of_range);
}

TEST_F(DeviceDataItemsTest, ShippedListLeavesToTheUserWhatAStartMovesToHim) {
    std::filesystem::copy_file(DAS_DEPLOY_DIR + std::string("/DasGenConfigDeviceDataItems.csv"),
                               onDevice(Path));
    EXPECT_GT(read(), 0U);
    const auto check = [](const char* words, bool expected) {
        std::istringstream stream(words);
        for (std::string schema, item; stream >> schema >> item;) {
            EXPECT_EQ(isDevice(schema, item), expected) << schema << " " << item;
        }
    };
    check(
        "MobilitySettings MobilityCurrentUser TransportSettings PhoneIPaddress "
        "AcmsSettings DoorOpener1DirectVideo SipBaseSettings SIPtransport "
        "SipBaseSettings BackupSIPServerPort ClockSettings DaylightSavingZoneIDDevice "
        "DlsSettings DLSsecurePortDevice DisplaySettings MessageWaitLED",
        true);
    check(
        "AcmsSettings WbmAllowed SipBaseSettings SIPtransportUser "
        "SipBaseSettings SIPoutboundProxyUser SipBaseSettings SIPintermediateProxyAddressUser "
        "SipBaseSettings SIPintermediateProxyPortUser CertificatePolicy WlanAuthenticationPolicy "
        "DisplaySettings LandingScreen DisplaySettings DisplayDTMFDigits "
        "ClockSettings TimeFormat Locale Language CanonicalDial LocalCountryCode",
        false);
}
