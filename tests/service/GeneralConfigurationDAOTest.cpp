#include "settings/GeneralConfigurationDAO.h"

#include <functional>
#include <thread>

#include "testkit/TableTest.h"

namespace {

const char* const Write = "write_request";
const char* const Update = "update_request";
const char* const Read = "read_request";
const char* const ReadAll = "readall_request";
const char* const Delete = "delete_request";

/// "RoomCharacter" of "AudioSettings" is device data, all else is the user's.
class GeneralConfigurationDAOTest : public TableTest {
protected:
    void SetUp() override {
        writeFile(onDevice("/Aurel_Deploy/DasGenConfigDeviceDataItems.csv"),
                  "AudioSettings,RoomCharacter\n");
        start();
        sql("DELETE FROM GENERAL_CONFIG");  // what the start put there
        m_log.clear();
    }

    /// The reason of the answer to a request to AudioSettings.
    std::string reasonOf(const std::string& reason, const std::string& body) {
        return TableTest::reasonOf("AudioSettings", reason, body);
    }
    std::string dataOf(const std::string& reason, const std::string& body = {}) {
        return xml::dataOf(send("AudioSettings", reason, body));
    }
    /// All rows as "Schema|UserContext|Name|Value;", sorted.
    std::string table() { return rowsOf("SELECT * FROM GENERAL_CONFIG ORDER BY 1, 2, 3"); }
    int countsAsked() const { return m_log.count("row count:"); }
};

std::string item(const std::string& value, const std::string& name = "Volume") {
    return xml::element(name, value);
}

}  // namespace

TEST_F(GeneralConfigurationDAOTest, ContextOfAnItemIsTheNamedOneElseTheDeviceElseTheCurrentUser) {
    const std::string device = "RoomCharacter";
    EXPECT_EQ(reasonOf(Write, item("1", device) + item("2") +
                                  xml::context("visitor", item("3", device) + item("4"))),
              "write_response");
    ASSERT_TRUE(service().setCurrentUser("visitor"));
    EXPECT_EQ(reasonOf(Update, item("5", device) + item("6") +
                                   xml::context("base", item("7", device)) + item("8", "Tone")),
              "update_response");
    EXPECT_EQ(table(),
              "AudioSettings||RoomCharacter|5;AudioSettings|base|RoomCharacter|7;"
              "AudioSettings|base|Volume|2;AudioSettings|visitor|RoomCharacter|3;"
              "AudioSettings|visitor|Tone|8;AudioSettings|visitor|Volume|6;");
}

TEST_F(GeneralConfigurationDAOTest, WriteKeepsWhatIsThereAndUpdateReplacesIt) {
    EXPECT_EQ(reasonOf(Update, item("1")), "update_response");
    EXPECT_EQ(reasonOf(Write, item("2") + item("3", "Tone")), "failure");
    EXPECT_EQ(table(), "AudioSettings|base|Tone|3;AudioSettings|base|Volume|1;");
    EXPECT_EQ(reasonOf(Update, item("it's &lt;4&gt;") + item("")), "update_response");
    EXPECT_EQ(reasonOf(Update, item("it's &lt;4&gt;")), "update_response");
    EXPECT_EQ(table(), "AudioSettings|base|Tone|3;AudioSettings|base|Volume|it's <4>;");
}

TEST_F(GeneralConfigurationDAOTest, AnswersStandInTheContextOfTheirRows) {
    reasonOf(Update, item("0", "RoomCharacter") +
                         xml::context("base", item("1", "Tone") + item("2")) +
                         xml::context("visitor", item("3")));
    const std::string tone = "<Tone>1</Tone>";
    const std::string volume = "<Volume>2</Volume>";
    const std::string visitor = xml::context("visitor", "<Volume>3</Volume>");
    const std::string room = "<RoomCharacter>0</RoomCharacter>";
    const std::string all =
        room + xml::context("base", tone) + xml::context("base", volume) + visitor;
    struct {
        const char* reason;
        std::string body;
        std::string data;
    } cases[] = {
        {Read, "", room + xml::context("base", tone + volume) + visitor},
        {Read, "<ResultCols>Volume</ResultCols>", xml::context("base", volume) + visitor},
        {Read, "<ResultCols>RoomCharacter Tone</ResultCols>", room + xml::context("base", tone)},
        {Read, "<ResultCols>Volume</ResultCols>" + xml::context("visitor", ""), visitor},
        {Read, xml::context("it's no one", ""), ""},
        {ReadAll, "", all},
        {ReadAll, xml::context("visitor", "") + "<ResultCols>Tone</ResultCols>", all},
    };
    for (const auto& each : cases) {
        EXPECT_EQ(dataOf(each.reason, each.body), each.data) << each.reason << each.body;
    }
}

TEST_F(GeneralConfigurationDAOTest, DeleteTakesTheRowsOfAllUsersAndOfMoreNamesInAllSchemas) {
    const std::string both =
        xml::context("base", item("1") + item("2", "Tone")) + xml::context("visitor", item("3"));
    reasonOf(Write, both);
    send("Locale", Write, both);
    EXPECT_EQ(reasonOf(Delete, ""), "failure");
    EXPECT_EQ(reasonOf(Delete, "<Name>Volume</Name>"), "delete_response");
    EXPECT_EQ(table(),
              "AudioSettings|base|Tone|2;Locale|base|Tone|2;Locale|base|Volume|1;"
              "Locale|visitor|Volume|3;");
    EXPECT_EQ(reasonOf(Delete, "<Tone/><Volume>any</Volume>"), "delete_response");
    EXPECT_EQ(table(), "Locale|base|Tone|2;");
}

TEST_F(GeneralConfigurationDAOTest, KnownRowsCostOneStatementEach) {
    std::string items;
    for (int i = 0; i < 20; ++i) {
        items += item(std::to_string(i), "Item" + std::to_string(i));
    }
    EXPECT_EQ(reasonOf(Write, items), "write_response");
    EXPECT_EQ(countsAsked(), 20);
    EXPECT_EQ(reasonOf(Update, items), "update_response");
    EXPECT_EQ(reasonOf(Write, items), "failure");
    GeneralConfigurationDAO::clearStaticCaches();
    EXPECT_NE(dataOf(ReadAll), "");
    EXPECT_EQ(reasonOf(Update, items), "update_response");
    EXPECT_EQ(countsAsked(), 20) << "what was written or read is not counted again";
    EXPECT_EQ(m_log.count("UPDATE GENERAL_CONFIG"), 40);
    m_log.clear();
    // Rows that a read of more names brings may be those of other schemas.
    GeneralConfigurationDAO::clearStaticCaches();
    dataOf(Read, "<ResultCols>Item0 Item1</ResultCols>");
    reasonOf(Update, item("x", "Item0") + item("y", "Item1"));
    EXPECT_EQ(countsAsked(), 2);
}

TEST_F(GeneralConfigurationDAOTest, StaleCountsLastUntilTheCacheIsEmptied) {
    reasonOf(Write, xml::context("base", item("1")) + xml::context("visitor", item("2")));
    EXPECT_EQ(reasonOf(Delete, "<Volume/>"), "delete_response");
    // The visitor's row went too, but only the current user's entry did.
    EXPECT_EQ(reasonOf(Write, xml::context("visitor", item("3"))), "failure");
    EXPECT_EQ(reasonOf(Write, xml::context("base", item("4"))), "write_response");
    GeneralConfigurationDAO::clearStaticCaches();
    EXPECT_EQ(reasonOf(Write, xml::context("visitor", item("5"))), "write_response");
    EXPECT_EQ(table(), "AudioSettings|base|Volume|4;AudioSettings|visitor|Volume|5;");
    sql("DELETE FROM GENERAL_CONFIG");
    start();
    EXPECT_EQ(reasonOf(Write, item("6")), "write_response") << "a start remembers nothing";
}

TEST_F(GeneralConfigurationDAOTest, DeletedDeviceItemIsForgottenUnderItsOwnContext) {
    reasonOf(Write, item("1", "RoomCharacter"));
    reasonOf(Delete, "<Name>RoomCharacter</Name>");
    EXPECT_EQ(reasonOf(Update, item("2", "RoomCharacter")), "update_response");
    EXPECT_EQ(table(), "AudioSettings||RoomCharacter|2;");
}

TEST_F(GeneralConfigurationDAOTest, ChangesOfUserDataEmptyTheCache) {
    using Dao = DataAccessObject;
    struct {
        const char* schema;
        const char* item;
        std::function<int(Dao&)> change;
    } cases[] = {
        {"AudioSettings", "Volume", [](Dao& d) { return d.deleteContextData("visitor"); }},
        {"AudioSettings", "Volume", [](Dao& d) { return d.initialiseMobilityUserData("visitor"); }},
        {"AudioSettings", "Volume", [](Dao& d) { return d.copyBaseDataToVisitor(); }},
        {"Passwords", "UserPassword", [](Dao& d) { return d.deleteVisitorUserPassword(); }},
        {"WSISettings", "WSIUsername", [](Dao& d) { return d.deleteUcCredentials(); }},
    };
    reasonOf(Write, xml::context("base", item("kept", "Tone")));
    for (const auto& each : cases) {
        const std::string body = xml::context("visitor", item("1", each.item));
        EXPECT_EQ(xml::reasonOf(send(each.schema, Update, body)), "update_response");
        EXPECT_EQ(each.change(*dao(each.schema)), 0) << each.schema;
        EXPECT_EQ(xml::reasonOf(send(each.schema, Write, body)), "write_response") << each.schema;
        sql("DELETE FROM GENERAL_CONFIG WHERE UserContext = 'visitor'");
        GeneralConfigurationDAO::clearStaticCaches();
    }
    EXPECT_EQ(table(), "AudioSettings|base|Tone|kept;");
    EXPECT_EQ(dao("AudioSettings")->copyBaseDataToVisitor(), 0);
    EXPECT_EQ(table(), "AudioSettings|base|Tone|kept;AudioSettings|visitor|Tone|kept;");
}

TEST_F(GeneralConfigurationDAOTest, UserDataMayBeDeletedBesideRequests) {
    const std::string body = xml::context("visitor", item("1"));
    std::thread door([this] {
        for (int i = 0; i < 50; ++i) {
            dao("AudioSettings")->deleteContextData("visitor");
            GeneralConfigurationDAO::clearStaticCaches();
        }
    });
    for (int i = 0; i < 50; ++i) {
        EXPECT_EQ(reasonOf(Update, body), "update_response");
    }
    door.join();
    EXPECT_EQ(reasonOf(Update, body), "update_response");
    EXPECT_EQ(table(), "AudioSettings|visitor|Volume|1;");
}

TEST_F(GeneralConfigurationDAOTest, FailedCountWritesNothingAndIsNotRemembered) {
    sql("ALTER TABLE GENERAL_CONFIG RENAME TO AWAY");
    EXPECT_EQ(reasonOf(Write, item("1")), "failure");
    EXPECT_EQ(reasonOf(Update, item("1")), "failure");
    EXPECT_FALSE(m_log.has("INSERT") || m_log.has("UPDATE GENERAL_CONFIG"));
    sql("ALTER TABLE AWAY RENAME TO GENERAL_CONFIG");
    EXPECT_EQ(reasonOf(Write, item("2")), "write_response");
}

TEST_F(GeneralConfigurationDAOTest, FailedInsertIsNotRememberedAsAMissingRow) {
    sql("CREATE TRIGGER NO_TONE BEFORE INSERT ON GENERAL_CONFIG WHEN NEW.Name = 'Tone' "
        "BEGIN SELECT RAISE(ABORT, 'no'); END");
    EXPECT_EQ(reasonOf(Write, item("1", "Tone") + item("2")), "failure");
    EXPECT_EQ(table(), "AudioSettings|base|Volume|2;") << "the items after it are written";
    sql("DROP TRIGGER NO_TONE");
    sql("INSERT INTO GENERAL_CONFIG VALUES ('AudioSettings', 'base', 'Tone', 'mine')");
    EXPECT_EQ(reasonOf(Write, item("3", "Tone")), "failure");
    EXPECT_EQ(table(), "AudioSettings|base|Tone|mine;AudioSettings|base|Volume|2;");
}

TEST_F(GeneralConfigurationDAOTest, BatchThatIsNotCommittedIsAFailureAndForgotten) {
    DatabaseAdapter& adapter = *service().getAdapter();
    sql("CREATE TABLE P (a PRIMARY KEY)");
    sql("CREATE TABLE C (a REFERENCES P (a) DEFERRABLE INITIALLY DEFERRED)");
    sql("CREATE TRIGGER T AFTER INSERT ON GENERAL_CONFIG BEGIN INSERT INTO C VALUES (1); END");
    adapter.executeNonQuery("PRAGMA foreign_keys = ON");
    EXPECT_EQ(reasonOf(Write, item("1")), "failure");
    adapter.executeNonQuery("ROLLBACK");
    adapter.executeNonQuery("PRAGMA foreign_keys = OFF");
    EXPECT_EQ(reasonOf(Write, item("2")), "write_response");
    EXPECT_EQ(table(), "AudioSettings|base|Volume|2;");
}

TEST_F(GeneralConfigurationDAOTest, TextsThatLookLikeSqlStayTexts) {
    const std::string sqlText = "x' OR 'a'='a'); DROP TABLE GENERAL_CONFIG; --";
    const std::string word = "x'OR'a'='a";
    send("Locale", Write, item("kept"));
    const std::string kept = "Locale|base|Volume|kept;";
    // The schema that finds the object is the first quoted text, that of the rows the attribute.
    const auto under = [&](const std::string& reason, const std::string& body) {
        return send(xml::Header + std::string("<!--Schema \"AudioSettings\"--><Schema name=\"") +
                    sqlText + "\">" + xml::element("ReasonForMessage", reason) + body +
                    "</Schema>");
    };
    EXPECT_EQ(xml::reasonOf(under(Write, xml::context(sqlText, item(sqlText)))), "write_response");
    EXPECT_EQ(table(), kept + sqlText + "|" + sqlText + "|Volume|" + sqlText + ";");
    const std::string row = xml::context(sqlText, item(sqlText));
    EXPECT_NE(under(Read, "").find("</ReasonForMessage>" + row + "</Schema>"), std::string::npos);
    EXPECT_NE(under(ReadAll, "").find(row), std::string::npos);
    EXPECT_EQ(xml::reasonOf(under(Update, xml::context(sqlText, item(sqlText)))),
              "update_response");
    EXPECT_EQ(dataOf(Read, "<ResultCols>" + word + "</ResultCols>"), "");
    EXPECT_EQ(reasonOf(Delete, "<Name>" + word + "</Name>"), "delete_response");
    EXPECT_EQ(table(), kept + sqlText + "|" + sqlText + "|Volume|" + sqlText + ";");
    EXPECT_EQ(xml::reasonOf(under(Delete, "<Volume/>")), "delete_response");
    EXPECT_EQ(table(), kept);
}
