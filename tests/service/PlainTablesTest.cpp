#include "PlainTables.h"

#include "ServiceTest.h"

namespace {

class PlainTablesTest : public ServiceTest {
protected:
    /// The functions in the default rows of a table, as key data.
    std::string keyData(const std::string& schema, const std::string& table) {
        (void)send(schema, "read_request");
        return cell(
            "SELECT ifnull(group_concat(Id || ':' || Function || ':' || Label || ';', ''), '')"
            " FROM " +
            table + " WHERE UserContext = 'base' AND Function <> '0'");
    }
};

}  // namespace

TEST_F(PlainTablesTest, EachModelHasItsDefaultKeys) {
    const std::string ordinary = "30:65:;31:64:;32:66:;38:67:;";
    const std::string two = "30:65:;31:64:;";
    const std::string four = "30:22:;31:10:;32:66:;38:50:;";
    const std::string five = "30:22:;31:64:;32:66:;38:50:;39:10:;";
    const std::string log = "100:74:Call log;101:75:Dirctory;102:64:FwdMenu;";
    const std::string shifts = "100:18:Shift;200:18:Shift;";
    const std::string forward = "100:64:Call forward;101:29:Group pickup;102:25:DND;";
    const std::string seven =
        "100:18:Shift;101:68:Phonebook;102:29:Group pickup;"
        "103:64:Call forward;104:25:DND;105:33:Show phone;200:18:Shift;";
    const struct {
        const char* hardware;  ///< as the environment tells it
        std::string fixedKeys;
        std::string featureKeys;
        std::string text;  ///< that "getDefaultKeyData" gives
    } rows[] = {
        {"", ordinary, "", two},
        {"subvariant=2,vx100", four, seven, four + seven},
        {"subvariant=3", four, forward, four + forward},
        {"subvariant=3,vx100", four, log, four + log},
        {"subvariant=3,subplatform=1", four, log + "103:3:Redial;", four + log + "103:3:Redial;"},
        {"subplatform=1,vx100", ordinary, log, four + log},
        {"vx100", ordinary, log, four + log},
        {"subvariant=4,vx700", five, shifts, five + shifts},
        {"vx700", ordinary, "32:3:;", two},
        {"vx700x", ordinary, "32:3:;", two},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.hardware);
        ::setenv("DAS_HARDWARE", row.hardware, 1);
        stop();
        std::filesystem::remove(database());
        start();
        EXPECT_EQ(send("getDefaultKeyData"), row.text);
        EXPECT_EQ(keyData("FeatureKeys", "FEATURE_KEYS"), row.featureKeys);
        EXPECT_EQ(keyData("FixedKeys", "FIXED_KEYS"), row.fixedKeys);
    }
}

TEST_F(PlainTablesTest, EachHasItsColumnsAndDefaultRowsOfBothUsers) {
    struct {
        const char* schema;
        const char* table;
        int rows;             ///< of each user
        const char* ids;      ///< first and last
        const char* columns;  ///< with the defaults of the last row, as "NAME=VALUE "
    } const rows[] = {
        {"AbbreviatedDialling", "ABBREVIATED_DIALLING", 50, "0 49", "DialUri= DialDescription= "},
        {"BCASettings", "BCA_SETTINGS", 80, "1 80",
         "BcaLabel= BcaPrimary=false BcaSipUri= BcaSipRealm= BcaSipUserId= BcaSipPassword= "
         "BcaNoOfAppearances=0 BcaRinging=true BcaRingingDelay=0 BcaSubscriptionTarget= "},
        {"CanonicalLookUp", "CANONICAL_LOOK_UP", 50, "0 49", "LocalCode= InternationalCode= "},
        {"ConfigLockDown", "CONFIG_LOCK_DOWN", 88, "1 88", "ConfigLockDown=false "},
        {"DeflectKeyDestinations", "DEFLECT_KEY_DESTINATIONS", 177, "32 1017",
         "DeflectDialNumber= "},
        {"FeatureKeys", "FEATURE_KEYS", 177, "32 1017",
         "Function=0 Locked=false Label= Local=false "},
        {"FeatureKeySettings", "FEATURE_KEY_SETTINGS", 1, "31 31", "Functionality=0 "},
        {"FeatureToggleKeySettings", "FEATURE_TOGGLE_KEY_SETTINGS", 177, "32 1017",
         "FeatureToggleCode=0 FeatureToggleDescription= "},
        {"LineKeySettings", "LINE_KEY_SETTINGS", 177, "32 1017",
         "PrimaryLine=false LineSipURI= LineSipRealm= LineSipUserId= LineSipPassword= "
         "LineShortDescription= RingingLine=true RingingLineDelay=0 LineRanking=1 LineSharedType=0 "
         "LineHotLineWarmLine=0 HotWarmLineDialNumber= HotWarmLineDestinationActive=true "
         "HiddenLine=false LineOverviewPosition= IntrusionAllowed=true LineSipPasswordEnc= "
         "LineXsiUsername= LineAudibleAlert=0 LineVisualAlert=2 LineSubscriptionTarget= "},
        {"LocalFunctionLockDown", "LOCAL_FUNCTION_LOCK_DOWN", 10, "1 10",
         "LocalFunctionLockDown=false "},
        {"RepertoryDialling", "REPERTORY_DIALLING", 177, "32 1017", "RepertoryDialNumber= "},
        {"SelectedDialling", "SELECTED_DIALLING", 177, "32 1017", "SelectedDialNumber= "},
        {"StartApplication", "START_APPLICATION", 177, "32 1017", "ApplicationName= "},
        {"StartApplicationFixedKeys", "START_APPLICATION_FIXED_KEYS", 5, "30 39",
         "ApplicationName= "},
        {"FixedKeys", "FIXED_KEYS", 4, "30 38", "Function=67 Locked=false Label= Local=false "},
    };
    std::vector<std::string> schemas;
    for (const auto& row : rows) {
        SCOPED_TRACE(row.schema);
        schemas.emplace_back(row.schema);
        (void)send(row.schema, "read_request");
        const std::string table = row.table;
        for (const char* user : {"base", "visitor"}) {
            const Rows found =
                sql("SELECT * FROM " + table + " WHERE UserContext = '" + user + "'");
            ASSERT_EQ(found.size(), static_cast<std::size_t>(row.rows));
            EXPECT_EQ(found.front()[1] + " " + found.back()[1], row.ids);
            const Rows columns = sql("SELECT name, type FROM pragma_table_info('" + table + "')");
            std::string text;
            for (std::size_t i = 0; i < columns.size(); ++i) {
                EXPECT_EQ(columns[i][1], "TEXT");
                text += i < 2 ? "" : columns[i][0] + "=" + found.back()[i] + " ";
            }
            EXPECT_EQ(columns[0][0] + columns[1][0], "UserContextId");
            EXPECT_EQ(text, row.columns);
        }
    }
    EXPECT_EQ(PlainTables::schemas(), schemas);
}

TEST_F(PlainTablesTest, KeysOfTheShiftedLevelsAreNoNormalKeys) {
    std::vector<std::string> normal;
    for (const std::string& id : PlainTables::allKeys()) {
        const int level = std::stoi(id) / 100;
        if (level < 2 || level % 2 == 1) {
            normal.push_back(id);
        }
    }
    EXPECT_EQ(PlainTables::normalKeys(), normal);
    EXPECT_EQ(normal.size(), 89U);
    EXPECT_EQ(PlainTables::allKeys().size(), 177U);
}
