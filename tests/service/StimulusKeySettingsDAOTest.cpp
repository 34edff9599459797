#include "StimulusKeySettingsDAO.h"

#include "TableTest.h"

namespace {

using xml::context;
using xml::element;
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

TEST_F(StimulusKeySettingsDAOTest, FirstRequestMakesTheRowsOfAllKeysForBothUsers) {
    EXPECT_EQ(reasonOf(Schema, "write_request"), "failure");
    EXPECT_EQ(count(), "362");
    EXPECT_EQ(count("UserContext = 'visitor'"), "181");
    EXPECT_EQ(rowsOf("SELECT Id FROM STIMULUS_KEY_SETTINGS WHERE UserContext = 'base' AND CAST(Id "
                     "AS INT) < 102"),
              "30;31;32;38;39;100;101;");
    const std::string defaults = "||||||0|||||0|||0|0|||||||1;";
    EXPECT_EQ(keys("Id = '1017'", "*"),
              "base|1017" + defaults + "visitor|1017" + defaults);
    sql("DELETE FROM STIMULUS_KEY_SETTINGS");
    EXPECT_EQ(reasonOf(Schema, "read_request"), "read_response");
    EXPECT_EQ(count(), "362") << "an empty table is filled, too";
}

TEST_F(StimulusKeySettingsDAOTest, MissingDefaultRowsAreAddedAndNoOthers) {
    auto keysDao = dao<StimulusKeySettingsDAO>(Schema);
    ASSERT_EQ(keysDao->createTable(), 0);
    EXPECT_EQ(keysDao->createTable(), 1);
    EXPECT_TRUE(m_log.has(5, "Cannot create table STIMULUS_KEY_SETTINGS, error="));
    keysDao->insertDefaultRows();
    sql("DELETE FROM STIMULUS_KEY_SETTINGS WHERE UserContext = 'visitor' AND Id = '1017'; UPDATE "
        "STIMULUS_KEY_SETTINGS SET StimulusKeyState = 5 WHERE Id = '30'");
    keysDao->insertDefaultRows(true);
    EXPECT_EQ(count(), "362");
    EXPECT_EQ(count("StimulusKeyState = 5"), "2");
    EXPECT_EQ(keys("rowid > 360"), "base|1017|;visitor|1017|;");
    std::string rows;
    EXPECT_EQ(keysDao->getRowCount(rows), 0);
    EXPECT_EQ(rows, "362");
}

TEST_F(StimulusKeySettingsDAOTest, ReadsAreNarrowedByUserIdAndColumns) {
    EXPECT_EQ(dataOf(Schema, context("visitor", "<Id>30</Id>") +
                                 element("ResultCols", "Id UserContext BlfSipLineAction")),
              context("visitor", entry({{"Id", "30"}, {"BlfSipLineAction", "1"}})));
    sql("UPDATE STIMULUS_KEY_SETTINGS SET SendUrlMethod = 2, SendUrlAddress = 'O''Brien' WHERE Id "
        "= "
        "'38' AND UserContext = 'base'");
    const std::string found =
        dataOf(Schema, "<SendUrlMethod>2</SendUrlMethod><SendUrlAddress>O'Brien</SendUrlAddress>");
    EXPECT_EQ(found.rfind("<Entry><Id>38</Id><StimulusKeyFeatureCode></", 0), 0U) << found;
    EXPECT_EQ(found.find("<Entry>", 1), std::string::npos);
    for (const char* body : {"<ResultCols>Id NoColumn</ResultCols>", "<Id>1 OR 1=1</Id>",
                             "<ResultCols>(SELECT 1)</ResultCols>"}) {
        EXPECT_EQ(reasonOf(Schema, "read_request", body), "failure") << body;
    }
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
        {"no id outside of an entry", "<StimulusKeyFeatureCode>*1</StimulusKeyFeatureCode>",
         "failure", ""},
        {"nothing at all", "", "update_response", ""},
        {"the first entry without an id", noId + code("31", "b"), "failure", "base|31|b;"},
        {"the last entry without an id", code("31", "b") + noId, "failure", "base|31|b;"},
        {"an id without values", entry({{"Id", "31"}}) + code("32", "c"), "failure", "base|32|c;"},
        {"an unknown id", code("9999", "b"), "update_response", ""},
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

TEST_F(StimulusKeySettingsDAOTest, DamagedRequestsAreRefusedAndLogged) {
    const std::string request = "<Schema name=\"StimulusKeySettings\"><Entry>";
    EXPECT_EQ(send(request), xml::message(Schema, "failure"));
    EXPECT_TRUE(m_log.has(2, "Parsing a StimulusKeySettingsDAO '" + request + "' request failed."));
    StimulusKeySettingsDAO withoutDatabase;
    withoutDatabase.handleRequest(request.c_str(), static_cast<int>(request.size()));
    EXPECT_EQ(withoutDatabase.responseReason(), "failure");
    EXPECT_EQ(withoutDatabase.updateRequest(), 1);
}
