#include "testkit/TableTest.h"

namespace {

using xml::element;
using xml::entry;
using xml::valuesOf;

const std::string Visitor = "visitor";

class CallGroupDAOTest : public TableTest {
protected:
    std::string groups(const std::string& reason, const std::string& body = {}) {
        return send("CallGroup", reason, body);
    }
    std::string rename(const std::string& number, const std::string& name,
                       const std::string& user = "base") {
        return groups("update_request",
                      xml::context(user, element("Select", element("CallGroup", number)) +
                                             entry({{"CallGroupName", name}})));
    }
    /// Names that are not blank, as "user:number:name:tone" with a blank between them.
    std::string named() {
        return cell(
            "SELECT coalesce(group_concat(UserContext || ':' || CallGroup || ':' || CallGroupName "
            "|| ':' || RingToneID, ' '), '') FROM (SELECT * FROM CallGroup WHERE CallGroupName || "
            "RingToneID <> '' ORDER BY 1, 2 + 0)");
    }
    void expectSixteenEach() {
        const std::string numbers = "1,2,3,4,5,6,7,8,9,10,11,12,13,14,15,16";
        EXPECT_EQ(sql("SELECT UserContext, group_concat(CallGroup) FROM (SELECT * FROM CallGroup "
                      "ORDER BY UserContext, CallGroup + 0) GROUP BY UserContext"),
                  (Rows{{"base", numbers}, {"visitor", numbers}}));
    }
};

}  // namespace

TEST_F(CallGroupDAOTest, FirstRequestOfAnyReasonFindsSixteenBlankGroupsOfEachUser) {
    EXPECT_EQ(xml::reasonOf(groups("no_such_request")), "failure");
    expectSixteenEach();
    EXPECT_EQ(named(), "");
    EXPECT_EQ(groups("rowcount_request"),
              xml::message("CallGroup", "rowcount_response", "<count>16</count>"));
}

TEST_F(CallGroupDAOTest, RequestsChangeNamesOfOneUserAndNothingElse) {
    EXPECT_EQ(xml::reasonOf(rename("3", "Fam'ily")), "update_response");
    rename("3", "Guest", "visitor");
    rename("17", "none");
    rename("5' OR '1'='1", "none");
    EXPECT_EQ(named(), "base:3:Fam'ily: visitor:3:Guest:");
    const struct {
        const char* reason;
        std::string body;
        const char* names;
    } rows[] = {
        {"read_request", element("ResultCols", "CallGroupName") + entry({{"CallGroup", "3"}}),
         "Fam'ily"},
        {"read_request", element("ResultCols", "CallGroupName;"), "failure"},
        {"delete_request", "", "failure"},
        {"update_request", element("Select", element("CallGroup", "3")), "failure"},
    };
    for (const auto& row : rows) {
        const std::string answer = groups(row.reason, row.body);
        EXPECT_EQ(
            xml::reasonOf(answer) == "failure" ? "failure" : valuesOf(answer, "CallGroupName"),
            row.names)
            << row.reason << row.body;
    }
    EXPECT_EQ(xml::reasonOf(groups("reset_request")), "update_response");
    EXPECT_EQ(named(), "visitor:3:Guest:");
    expectSixteenEach();
}

TEST_F(CallGroupDAOTest, SixteenGroupsOutlastEveryChangeOfTheVisitor) {
    groups("read_request");
    for (int visit = 0; visit < 2; ++visit) {
        rename("1", "Mine", "visitor");
        EXPECT_EQ(dao("CallGroup")->insertDefaultRows(Visitor), 0);
        EXPECT_EQ(named(), "");
        expectSixteenEach();
        rename("1", "Mine", "visitor");
        EXPECT_EQ(dao("CallGroup")->initialiseMobilityUserData("visitor"), 0);
        EXPECT_EQ(named(), "");
        EXPECT_EQ(dao("CallGroup")->deleteContextData("'visitor'"), 0);
        EXPECT_EQ(dao("CallGroup")->insertDefaultRows(Visitor), 0);
        expectSixteenEach();
    }
}

TEST_F(CallGroupDAOTest, FilesSetGroupsThatAreThere) {
    const std::string text = "visitor,2,Tom &amp; O'N\\, x,7\nbase,17,none,1\nbase,3\nbase,4,Last,";
    writeFile(onDevice("/tmp/groups.csv"), text);
    EXPECT_TRUE(service().importData("CallGroup", "/tmp/groups.csv"));
    EXPECT_EQ(named(), "base:4:Last: visitor:2:Tom & O'N, x:7");
    expectSixteenEach();
    const struct {
        int category;
        const char* basicMode;
        const char* user;
    } rows[] = {
        {0, "false", "base"}, {1, "false", "visitor"}, {1, "true", "base"}, {7, "false", "base"}};
    for (const auto& row : rows) {
        groups("reset_request");
        groups("reset_request", xml::context("visitor", ""));
        sql("INSERT OR REPLACE INTO GENERAL_CONFIG VALUES ('MobilitySettings', '', "
            "'ActiveMobilityModeIsBasic', '" +
            std::string(row.basicMode) + "')");
        EXPECT_TRUE(service().importData("CallGroup", static_cast<eUserCategory>(row.category),
                                         "/tmp/groups.csv"));
        const std::string user = row.user;
        EXPECT_EQ(named(), user + ":2:Tom & O'N, x:7 " + user + ":4:Last:") << row.category;
    }
    EXPECT_TRUE(service().exportData("CallGroup", base, "/tmp/out.csv"));
    EXPECT_EQ(readFile(onDevice("/tmp/out.csv")).substr(0, 40),
              "base,1,,\nbase,2,Tom & O'N\\, x,7\nbase,3,,");
}
