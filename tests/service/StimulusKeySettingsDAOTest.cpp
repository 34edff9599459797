#include "tables/StimulusKeySettingsDAO.h"

#include "testkit/TableTest.h"

namespace {

using xml::context;
using xml::entry;

const std::string Schema = "StimulusKeySettings";
const char* const Update = "update_request";

class StimulusKeySettingsDAOTest : public TableTest {
protected:
    std::string keys(const std::string& condition,
                     const std::string& columns = "UserContext, Id, StimulusKeyFeatureCode") {
        return rowsOf("SELECT " + columns + " FROM STIMULUS_KEY_SETTINGS WHERE " + condition);
    }
    std::string count(const std::string& condition = "1") {
        return cell("SELECT COUNT(*) FROM STIMULUS_KEY_SETTINGS WHERE " + condition);
    }
};

}  // namespace

TEST_F(StimulusKeySettingsDAOTest, MissingDefaultRowsAreAddedAndNoOthers) {
    auto keysDao = dao<StimulusKeySettingsDAO>(Schema);
    ASSERT_EQ(keysDao->createTable(), 0);
    keysDao->insertDefaultRows();
    sql("DELETE FROM STIMULUS_KEY_SETTINGS WHERE UserContext = 'visitor' AND Id = '1017'; UPDATE "
        "STIMULUS_KEY_SETTINGS SET StimulusKeyState = 5 WHERE Id = '30'");
    keysDao->insertDefaultRows(true);
    EXPECT_EQ(count(), "362");
    EXPECT_EQ(count("StimulusKeyState = 5"), "2");
    EXPECT_EQ(keys("rowid > 360"), "base|1017|;visitor|1017|;");
}

TEST_F(StimulusKeySettingsDAOTest, UpdatesChangeRowsAndTheFirstFailureStands) {
    struct Case {
        const char* name;
        std::string body;
        const char* answer;
        const char* changed;
    };
    const auto code = [](const std::string& id, const std::string& value) {
        return entry({{"Id", id}, {"StimulusKeyFeatureCode", value}});
    };
    const std::string noId = entry({{"StimulusKeyFeatureCode", "x"}});
    const Case cases[] = {
        {"one row without an entry",
         "<Id>30</Id><StimulusKeyFeatureCode>*1</StimulusKeyFeatureCode>", "update_response",
         "base|30|*1;"},
        {"the visitor's row", context("visitor", code("30", "*2")), "update_response",
         "visitor|30|*2;"},
        {"the first entry without an id", noId + code("31", "b"), "failure", "base|31|b;"},
        {"an id without values", entry({{"Id", "31"}}) + code("32", "c"), "failure", "base|32|c;"},
        {"SQL text as an id", code("30; DROP TABLE STIMULUS_KEY_SETTINGS", "b") + code("31", "c"),
         "failure", "base|31|c;"},
        {"another user by column", "<UserContext>visitor</UserContext>" + code("30", "O'Brien"),
         "update_response", "base|30|O'Brien;"},
    };
    for (const Case& each : cases) {
        SCOPED_TRACE(each.name);
        sql("DROP TABLE IF EXISTS STIMULUS_KEY_SETTINGS");
        EXPECT_EQ(reasonOf(Schema, Update, each.body), each.answer);
        EXPECT_EQ(keys("StimulusKeyFeatureCode <> ''"), each.changed);
        EXPECT_EQ(count(), "362");
    }
}

TEST_F(StimulusKeySettingsDAOTest, ReinitialisedUserHasQuietLampsUnlikeAFreshRow) {
    reasonOf(Schema, Update, entry({{"Id", "30"}, {"SendUrlMethod", "7"}}));
    reasonOf(Schema, Update, context("visitor", entry({{"Id", "30"}, {"SendUrlMethod", "7"}})));
    EXPECT_EQ(dao(Schema)->initialiseMobilityUserData("visitor"), 0);
    EXPECT_EQ(count(), "362");
    EXPECT_EQ(count("UserContext = 'visitor' AND BusyLampFieldAudible = 'false' AND "
                    "BusyLampFieldPopup = 'false' AND SendUrlMethod = 0 AND BlfSipLineAction = 1"),
              "181");
    EXPECT_EQ(count("UserContext = 'base' AND BusyLampFieldAudible = '' AND BusyLampFieldPopup = "
                    "''"),
              "181");
    EXPECT_EQ(count("SendUrlMethod = 7"), "1");
}
