#include "testkit/ServiceTest.h"

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
        const char* hardware;  ///< as the environment says
        std::string fixedKeys;
        std::string featureKeys;
        std::string text;  ///< that "getDefaultKeyData" gives
    } rows[] = {
        {"", ordinary, "", two},
        {"subvariant=2,vx100", four, seven, four + seven},
        {"subvariant=3", four, forward, four + forward},
        {"subvariant=3,subplatform=1", four, log + "103:3:Redial;", four + log + "103:3:Redial;"},
        {"subplatform=1,vx100", ordinary, log, four + log},
        {"vx100", ordinary, log, four + log},
        {"subvariant=4,vx700", five, shifts, five + shifts},
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
