#include "PlainTables.h"

#include "DAOFactory.h"
#include "ServiceTest.h"

namespace {

struct Model {
    const char* name;
    const char* hardware;  ///< as the environment tells it
    const char* keyData;
    const char* featureKeys;  ///< default rows with a function, as key data
    const char* fixedKeys;    ///< default rows, as key data
};

void PrintTo(const Model& model, std::ostream* out) {
    *out << model.name;
}

class PlainTablesModelTest : public ServiceTest, public ::testing::WithParamInterface<Model> {
protected:
    void SetUp() override {
        ::setenv("DAS_HARDWARE", GetParam().hardware, 1);
        ServiceTest::SetUp();
    }

    /// The key data text of the base rows in a table.
    std::string keyData(const std::string& schema, const std::string& table) {
        (void)send(schema, "read_request");
        return cell(
            "SELECT ifnull(group_concat(Id || ':' || Function || ':' || Label || ';', ''), '')"
            " FROM " +
            table + " WHERE UserContext = 'base' AND Function <> '0'");
    }
};

using PlainTablesTest = ServiceTest;

const char* const FourFixed = "30:22:;31:10:;32:66:;38:50:;";
const char* const OrdinaryFixed = "30:65:;31:64:;32:66:;38:67:;";

}  // namespace

TEST_P(PlainTablesModelTest, HasItsDefaultKeys) {
    EXPECT_EQ(send("getDefaultKeyData"), GetParam().keyData);
    EXPECT_EQ(keyData("FeatureKeys", "FEATURE_KEYS"), GetParam().featureKeys);
    EXPECT_EQ(keyData("FixedKeys", "FIXED_KEYS"), GetParam().fixedKeys);
}

INSTANTIATE_TEST_SUITE_P(
    Models, PlainTablesModelTest,
    ::testing::Values(
        Model{"none", "", "30:65:;31:64:;", "", OrdinaryFixed},
        Model{"variant2", "subvariant=2,vx100",
              "30:22:;31:10:;32:66:;38:50:;100:18:Shift;101:68:Phonebook;102:29:Group pickup;"
              "103:64:Call forward;104:25:DND;105:33:Show phone;200:18:Shift;",
              "100:18:Shift;101:68:Phonebook;102:29:Group pickup;103:64:Call forward;104:25:DND;"
              "105:33:Show phone;200:18:Shift;",
              FourFixed},
        Model{"variant3", "subvariant=3",
              "30:22:;31:10:;32:66:;38:50:;100:64:Call forward;101:29:Group pickup;102:25:DND;",
              "100:64:Call forward;101:29:Group pickup;102:25:DND;", FourFixed},
        Model{"variant3OfVX100", "subvariant=3,vx100",
              "30:22:;31:10:;32:66:;38:50:;100:74:Call log;101:75:Dirctory;102:64:FwdMenu;",
              "100:74:Call log;101:75:Dirctory;102:64:FwdMenu;", FourFixed},
        Model{"variant3OfPlatform1", "subvariant=3,subplatform=1",
              "30:22:;31:10:;32:66:;38:50:;100:74:Call log;101:75:Dirctory;102:64:FwdMenu;"
              "103:3:Redial;",
              "100:74:Call log;101:75:Dirctory;102:64:FwdMenu;103:3:Redial;", FourFixed},
        Model{"platform1OfVX100", "subplatform=1,vx100",
              "30:22:;31:10:;32:66:;38:50:;100:74:Call log;101:75:Dirctory;102:64:FwdMenu;",
              "100:74:Call log;101:75:Dirctory;102:64:FwdMenu;", OrdinaryFixed},
        Model{"VX100", "vx100",
              "30:22:;31:10:;32:66:;38:50:;100:74:Call log;101:75:Dirctory;102:64:FwdMenu;",
              "100:74:Call log;101:75:Dirctory;102:64:FwdMenu;", OrdinaryFixed},
        Model{"variant4", "subvariant=4,vx700",
              "30:22:;31:64:;32:66:;38:50:;39:10:;100:18:Shift;200:18:Shift;",
              "100:18:Shift;200:18:Shift;", "30:22:;31:64:;32:66:;38:50:;39:10:;"},
        Model{"VX700", "vx700", "30:65:;31:64:;", "32:3:;", OrdinaryFixed},
        Model{"VX700X", "vx700x", "30:65:;31:64:;", "32:3:;", OrdinaryFixed}),
    [](const auto& row) { return std::string(row.param.name); });

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
