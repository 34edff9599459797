#include <thread>

#include "service/ACMSTagMapper.h"
#include "testkit/CpuTime.h"
#include "testkit/ServiceTest.h"

namespace {

class MobilityMigratorTest : public ServiceTest {
protected:
    void SetUp() override {
        writeFile(onDevice("/Aurel_Deploy/DasTagMappings.csv"),
                  "#$VERSION=3\n#$COLUMNS=<DAStag>,<ACMStag>,<DASschema>\n"
                  "Melody,melody,AudioSettings\nShort,only\n# a,comment,line\n"
                  "Label,key-,FeatureKeys\nDialUri,uri[],AbbreviatedDialling\n"
                  "DialUri,uri-bracket,AbbreviatedDialling\nAddr,addr,Net\n"
                  "Port,port,TransportSettings\nOther,melody2,Nope\nMelody2,melody2,AudioSettings");
        writeFile(onDevice("/Aurel_Deploy/DasGenConfigDeviceDataItems.csv"), "TransportSettings\n");
        start();
    }
    std::map<std::string, std::string> exported(const std::vector<std::string>& keys, bool base) {
        std::map<std::string, std::string> values;
        for (const std::string& key : keys) {
            values[key];
        }
        EXPECT_TRUE(service().exportUserData(values, base));
        return values;
    }
};

}  // namespace

TEST_F(MobilityMigratorTest, TagsOfEachKindComeBackAsTheyWent) {
    std::map<std::string, std::string> values = {{"melody", "ding"},
                                                 {"melody2", "a &lt; b"},
                                                 {"key-101", "O'Brien"},
                                                 {"uri[  7]", "sip:7"},
                                                 {"port", "443"}};
    EXPECT_TRUE(service().importUserData(values, true));
    EXPECT_EQ(exported({"melody", "melody2", "key-101", "uri[7]", "port"}, true),
              (std::map<std::string, std::string>{{"melody", "ding"},
                                                  {"melody2", "a "},
                                                  {"key-101", "O'Brien"},
                                                  {"uri[7]", "sip:7"},
                                                  {"port", "443"}}))
        << "a stored \"<\" cuts the value that comes back";
    EXPECT_EQ(cell("SELECT UserContext FROM GENERAL_CONFIG WHERE Name='Port'"), "");
    EXPECT_EQ(cell("SELECT UserContext FROM GENERAL_CONFIG WHERE Name='Melody'"), "base");
}

TEST_F(MobilityMigratorTest, UnknownTagsAreLoggedAndTheOthersGoOn) {
    std::map<std::string, std::string> values = {{"12", "v"},     {"]uri[", "v"}, {"only", "v"},
                                                 {"a", "v"},      {"key-x", "v"}, {"", "v"},
                                                 {"melody", "it"}};
    EXPECT_TRUE(service().importUserData(values, true));
    EXPECT_EQ(m_log.count("Unknown ACMS tag encountered"), 6);
    EXPECT_EQ(cell("SELECT Value FROM GENERAL_CONFIG WHERE Name='Melody'"), "it");
}

TEST_F(MobilityMigratorTest, MarkupInAValueIsStoredAsText) {
    std::map<std::string, std::string> values = {
        {"melody", "<b>&amp;&x;&#65;&]]></b>"},
        {"melody2", "&#0;&#x1;&#xD800;&#xFFFF;&#1114112;&#x41&#9;&#x10FFFF;"}};
    EXPECT_TRUE(service().importUserData(values, true));
    EXPECT_EQ(cell("SELECT Value FROM GENERAL_CONFIG WHERE Name='Melody'"), "<b>&&x;A&]]></b>");
    EXPECT_EQ(cell("SELECT Value FROM GENERAL_CONFIG WHERE Name='Melody2'"),
              "&#0;&#x1;&#xD800;&#xFFFF;&#1114112;&#x41\t\xF4\x8F\xBF\xBF")
        << "numbers of no character are text";
}

// Each value was acknowledged and lost, and the log showed it.
TEST_F(MobilityMigratorTest, AValueThatXmlCannotCarryIsLeftOutByName) {
    std::map<std::string, std::string> values = {{"key-101", "secret\x01"},
                                                 {"melody", std::string("secret\0", 7)},
                                                 {"port", "secret\xFF"},
                                                 {"uri[7]", "carried"}};
    m_log.clear();
    EXPECT_TRUE(service().importUserData(values, true));
    for (const char* item :
         {"schema=[FeatureKeys], tag=[Label], index=[101]", "schema=[AudioSettings], tag=[Melody]",
          "schema=[TransportSettings], tag=[Port]"}) {
        EXPECT_TRUE(m_log.has(2, std::string("DAS item ") + item + " is left out")) << item;
    }
    EXPECT_FALSE(m_log.has("secret"));
    EXPECT_EQ(exported({"uri[7]"}, true)["uri[7]"], "carried");
}

// The digits became a setting "Id".
TEST_F(MobilityMigratorTest, ASettingHasNoIdentifier) {
    std::map<std::string, std::string> values = {{"melody7", "ding"}, {"port443", "443"}};
    EXPECT_TRUE(service().importUserData(values, true));
    EXPECT_EQ(cell("SELECT COUNT(*) FROM GENERAL_CONFIG WHERE Name = 'Id'"), "0");
    EXPECT_EQ(exported({"melody7", "port"}, true),
              (std::map<std::string, std::string>{{"melody7", "ding"}, {"port", "443"}}));
}

TEST_F(MobilityMigratorTest, AValueTakesTimeByItsLength) {
    const auto secondsFor = [this](std::size_t length) {
        std::map<std::string, std::string> values = {{"melody", std::string(length, '&')}};
        return CpuTime::of([&] { EXPECT_TRUE(service().importUserData(values, true)); });
    };
    EXPECT_LT(secondsFor(800000), 24 * secondsFor(100000)) << "eight times the length";
}

TEST_F(MobilityMigratorTest, TheUserOfTheLastCallStaysAndMigrationGoesToBase) {
    std::map<std::string, std::string> values = {{"melody", "his"}};
    EXPECT_TRUE(service().importUserData(values, false));
    EXPECT_EQ(cell("SELECT Name FROM GENERAL_CONFIG WHERE UserContext = 'visitor'"), "Melody");
    EXPECT_EQ(exported({"melody"}, true)["melody"], "");
    values["melody"] = "mine";
    EXPECT_TRUE(service().migrateUserData(values));
    EXPECT_EQ(send("getCurrentUser"), "visitor");
    EXPECT_EQ(exported({"melody"}, true)["melody"], "mine");
    EXPECT_EQ(exported({"melody"}, false)["melody"], "his");
}

TEST_F(MobilityMigratorTest, CallsForTwoUsersAtOnceReachEachHisOwn) {
    const auto importFor = [this](bool base) {
        std::map<std::string, std::string> values;
        for (int id = 100; id < 116; ++id) {
            values["key-" + std::to_string(id)] = base ? "base" : "visitor";
        }
        for (int round = 0; round < 20; ++round) {
            EXPECT_TRUE(service().importUserData(values, base));
        }
    };
    std::thread visitor(importFor, false);
    importFor(true);
    visitor.join();
    EXPECT_EQ(cell("SELECT COUNT(*) FROM FEATURE_KEYS WHERE Label=UserContext"), "32");
}

TEST_F(PlaceTest, AMappingFileThatIsNotOneLeavesEachTagUnknown) {
    const struct {
        const char* text;
        const char* log;
    } rows[] = {{"", "Version no. missing"},
                {"#$VERSION=1\n#$COLUMNS=x,y,z,<ACMStag>,<DAStag>,<DASschema>\na,b,c,t\n",
                 "Scanning complete"}};
    std::string schema = "kept";
    std::string tag = "kept";
    EXPECT_FALSE(ACMSTagMapper().findDASTags("t", schema, tag)) << "a missing file";
    for (const auto& row : rows) {
        m_log.clear();
        writeFile(onDevice("/Aurel_Deploy/DasTagMappings.csv"), row.text);
        EXPECT_FALSE(ACMSTagMapper().findDASTags("t", schema, tag));
        EXPECT_TRUE(m_log.has(row.log)) << row.text;
    }
    EXPECT_EQ(schema + tag, "keptkept");
}
