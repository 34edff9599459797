#include "dao/GenConfigDeviceDataItems.h"

#include <sstream>

#include "testkit/ServiceTest.h"

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
        {"whole schema twice, carriage returns", "Net\r\nNet\r\n", 1, true, true},
        {"whole schema less one", "Net\nNet,Addr,false\n", 1, false, true},
        {"included beats excluded", "Net,Addr\nNet,Port,false\nNet,Addr,false\n", 1, true, false},
        {"other words neither", "Net,Addr,False\nNet,Addr,\nNet,Port,false \n", 0, false, false},
        {"four fields", "Net,Addr,false,\nNet,Addr,x,y\n", 0, false, false},
        {"blank in front of the mark", " # Net\n#\nNet,Addr", 2, true, false},
        {"blanks count", "Net ,Addr\nNet, Addr\n", 2, false, false},
        {"other case", "net\nNET\n", 2, false, false},
    };
    for (const auto& each : cases) {
        EXPECT_EQ(read(each.text), each.schemas) << each.name;
        EXPECT_EQ(isDevice("Net", "Addr"), each.isAddr) << each.name;
        EXPECT_EQ(isDevice("Net", "Port"), each.isPort) << each.name;
        EXPECT_FALSE(isDevice("Other", "Addr")) << each.name;
    }
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
