#include "dao/DataAccessObject.h"

#include "dao/NULLDataAccessObject.h"
#include "testkit/RecordingAdapter.h"

namespace {

using xml::element;
using xml::entry;

const char* const Schema = "AbbreviatedDialling";

std::string row(const std::string& id, const std::string& uri, const std::string& description) {
    return entry({{"Id", id}, {"DialUri", uri}, {"DialDescription", description}});
}
std::string id(const std::string& text) {
    return element("Id", text);
}
std::string uri(const std::string& text) {
    return element("DialUri", text);
}
std::string columns(const std::string& text) {
    return element("ResultCols", text);
}

const std::string Failed = "failed";

/// Two rows of base and one of the visitor differ from the defaults.
class DataAccessObjectTest : public RecordedServiceTest {
protected:
    void SetUp() override {
        RecordedServiceTest::SetUp();
        update(row("1", "a", "one") + row("2", "b", "two"));
        update(xml::context("visitor", row("1", "a", "guest")));
    }

    std::string update(const std::string& body) { return send(Schema, "update_request", body); }
    static std::string answer(const std::string& reason, const std::string& body) {
        return body == Failed ? xml::message(Schema, "failure")
                              : xml::message(Schema, reason, body);
    }
};

}  // namespace

TEST_F(DataAccessObjectTest, ReadsAnswerWhatWasAskedFor) {
    const std::string one = row("1", "a", "one");
    const std::string two = row("2", "b", "two");
    const std::string guest = row("1", "a", "guest");
    const std::pair<std::string, std::string> rows[] = {
        {id("1"), one},
        {id(" +2 "), two},
        {id("77"), ""},
        {columns("DialUri") + id("1"), entry({{"DialUri", "a"}})},
        {columns(" Id  DialUri ") + id("1"), entry({{"Id", "1"}, {"DialUri", "a"}})},
        {columns("ABBREVIATED_DIALLING.*") + id("1"), one},
        {columns("ABBREVIATED_DIALLING.* DialUri") + id("1"), entry({{"DialUri", "a"}})},
        {columns("UserContext") + id("1"), entry({})},
        {columns("Nope") + id("1"), Failed},
        {"<Nope>x</Nope>" + uri("b"), two},
        {element("UserContext", "visitor") + id("1"), one},
        {xml::context("visitor", id("1")), xml::context("visitor", guest)},
        {"<Context x=\"visitor\" y=\"base\"></Context>" + id("1"), xml::context("visitor", guest)},
        {xml::context("O'Brien", id("1")), xml::context("O'Brien", "")},
        // Kept: without brackets around alternatives only the last is bound to the user,
        {uri("a") + uri("b"), one + guest + two},
        // and what the last Entry holds are conditions.
        {entry({{"DialUri", "x"}}) + entry({{"DialUri", "b"}}), two},
        // Texts that carry SQL.
        {id("1 OR 1=1"), Failed},
        {columns("Id FROM ABBREVIATED_DIALLING;-- ") + id("1"), Failed},
        {xml::context("x' OR '1'='1", id("1")), xml::context("x' OR '1'='1", "")},
        {uri("a' OR '1'='1"), ""},
    };
    for (const auto& [body, expected] : rows) {
        EXPECT_EQ(send(Schema, "read_request", body), answer("read_response", expected)) << body;
    }
    EXPECT_EQ(cell("SELECT COUNT(*) FROM ABBREVIATED_DIALLING"), "100");
}

TEST_F(DataAccessObjectTest, UpdatesWriteTheRowsThatAreNamed) {
    const std::string drop = "1'); DROP TABLE ABBREVIATED_DIALLING; --";
    const std::string bad = entry({{"Id", drop}, {"DialUri", "bad"}});
    const std::string good = entry({{"Id", "3"}, {"DialUri", "good"}});
    const std::string next = entry({{"Id", "4"}, {"DialUri", "next"}});
    const std::string noId = entry({{"DialUri", "lost"}});
    const struct {
        std::string body;
        bool done;
        std::string changed;  ///< rows with another DialUri than before
        int transactions;
    } rows[] = {
        {id("3") + uri("O&apos;Brien &amp; '' &lt;"), true, "base 3 O'Brien & '' <", 0},
        {xml::context("visitor", id("3") + uri("x")), true, "visitor 3 x", 0},
        {element("UserContext", "visitor") + id("3") + uri("x"), true, "base 3 x", 0},
        {id("4") + id("3") + uri("x") + uri("y"), true, "base 3 y", 0},
        {id("3") + "<DialUri>x<b>y</b>z</DialUri>", false, "", 0},
        {id("3"), false, "", 0},
        {good + next + entry({{"Id", "60"}, {"DialUri", "new"}}), true,
         "base 3 good,base 4 next,base 60 new", 1},
        {entry({}) + good + noId, true, "base 3 good", 1},
        // The result is that of the last row.
        {bad + good, true, "base 3 good", 1},
        {good + bad, false, "base 3 good", 1},
        {id(drop) + uri("x"), false, "", 0},
        {id("3 OR 1=1") + uri("x"), false, "", 0},
        {id("3") + uri(drop), true, "base 3 " + drop, 0},
        {xml::context(drop, id("3") + uri("x")), true, drop + " 3 x", 0},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.body);
        m_adapter->statements.clear();
        EXPECT_EQ(update(row.body), answer("update_response", row.done ? "" : Failed));
        EXPECT_EQ(cell("SELECT ifnull(group_concat(UserContext || ' ' || Id || ' ' || DialUri), '')"
                       " FROM ABBREVIATED_DIALLING WHERE DialUri NOT IN ('', 'a', 'b')"),
                  row.changed);
        EXPECT_EQ(m_adapter->count("BEGIN"), row.transactions);
        EXPECT_EQ(m_adapter->count("END"), row.transactions);
        sql("DELETE FROM ABBREVIATED_DIALLING WHERE Id = '60' OR UserContext LIKE '1%';"
            "UPDATE ABBREVIATED_DIALLING SET DialUri = '' WHERE Id IN ('3', '4');");
        EXPECT_EQ(cell("SELECT COUNT(*) FROM ABBREVIATED_DIALLING"), "100");
    }
}

TEST_F(DataAccessObjectTest, AnyRequestMakesTheTableOnce) {
    for (const char* reason : {"delete_request", "write_request", "", "read_requests"}) {
        EXPECT_EQ(send("CanonicalLookUp", reason, id("1")),
                  xml::message("CanonicalLookUp", "failure"));
        EXPECT_EQ(cell("SELECT COUNT(*) FROM CANONICAL_LOOK_UP"), "100") << reason;
    }
    sql("DELETE FROM CANONICAL_LOOK_UP");
    (void)send("CanonicalLookUp", "read_request");
    EXPECT_EQ(cell("SELECT COUNT(*) FROM CANONICAL_LOOK_UP"), "100") << "filled again";
}

TEST_F(DataAccessObjectTest, OnlyTwoStatusesAreExplained) {
    const std::pair<int, std::string> rows[] = {
        {0, ""},
        {2, element("FailureMessage", "Not enough memory")},
        {3, element("FailureMessage", "Disk error")},
    };
    NULLDataAccessObject dao("Some");
    for (const auto& [status, message] : rows) {
        dao.setStatus(status);
        EXPECT_EQ(dao.getResponseMsg(), xml::message("Some", "failure", message));
    }
}
