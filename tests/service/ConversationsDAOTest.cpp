#include "calls/ConversationsDAO.h"

#include "database/DatabaseAdapter.h"
#include "testkit/ServiceTest.h"

namespace {

using xml::element;
using xml::entry;
using xml::message;
using xml::reasonOf;
using xml::valuesOf;

const char* const Both = "CALL_LOG.* PHONE_BOOK.*";

class ConversationsDAOTest : public ServiceTest {
protected:
    std::string talk(const std::string& reason, const std::string& body = {}) {
        return send("Conversations", reason, body);
    }
    std::string write(const xml::Fields& fields, const std::string& user = "base") {
        return talk("write_request", xml::context(user, entry(fields)));
    }
    std::string readJoined(const std::string& words, const std::string& body = {}) {
        return talk("read_request", element("ResultCols", words) + body);
    }
    /// A contact, a call and their conversation, all of the same number.
    void makeConversation(const std::string& number, const std::string& time) {
        send("PhoneBook", "write_request",
             entry({{"UniqueID", number}, {"Surname", "S" + number}, {"Group", "G" + number}}));
        send("CallLogMissedCalls", "write_request",
             element("Entry", element("UniqueId", number) + element("EntryId", "E" + number) +
                                  element("LogList", element("Item", element("TimeDate", time)))));
        write({{"PhonebookId", number}, {"CallLogId", number}});
    }
};

}  // namespace

TEST_F(ConversationsDAOTest, RowsAreWrittenReadAndDeletedByUser) {
    EXPECT_EQ(talk("read_request"), message("Conversations", "read_response"));
    EXPECT_EQ(reasonOf(talk("delete_request")), "failure");
    EXPECT_EQ(write({{"PhonebookId", "5"}, {"CallLogId", "6"}}),
              message("Conversations", "write_response", entry({{"UniqueId", "1"}})));
    EXPECT_EQ(valuesOf(write({{"UniqueId", "9"}, {"CallLogId", "it's"}}), "UniqueId"), "9");
    EXPECT_EQ(valuesOf(write({}, "visitor"), "UniqueId"), "10");
    EXPECT_EQ(talk("read_request"),
              message("Conversations", "read_response",
                      entry({{"UniqueId", "1"}, {"PhonebookId", "5"}, {"CallLogId", "6"}}) +
                          entry({{"UniqueId", "9"}, {"PhonebookId", ""}, {"CallLogId", "it's"}})));
    EXPECT_EQ(valuesOf(talk("read_request", entry({{"CallLogId", "it's"}})), "UniqueId"), "9");
    EXPECT_EQ(valuesOf(talk("read_request", element("Offset", "1") + element("RowLimit", "1")),
                       "UniqueId"),
              "9");
    EXPECT_EQ(write({{"UniqueId", "1"}, {"PhonebookId", "7"}}).find("failure"), std::string::npos);
    EXPECT_EQ(valuesOf(talk("read_request"), "PhonebookId"), "7|");
    EXPECT_EQ(reasonOf(talk("delete_request", entry({{"PhonebookId", "5"}}))), "delete_response");
    EXPECT_EQ(valuesOf(talk("read_request"), "UniqueId"), "1|9");
    talk("delete_request", entry({{"UniqueId", "1"}}) + entry({{"UniqueId", "10"}}));
    EXPECT_EQ(valuesOf(talk("read_request"), "UniqueId"), "9");
    talk("delete_request");
    EXPECT_EQ(cell("SELECT group_concat(UniqueId) FROM CONVERSATIONS"), "10");
}

TEST_F(ConversationsDAOTest, JoinedReadGivesCallAndContactNewestFirst) {
    EXPECT_EQ(readJoined(Both), message("Conversations", "read_response_with_join"));
    makeConversation("1", "2014-03-01T00:00:00");
    makeConversation("2", "2014-03-03T00:00:00");
    makeConversation("3", "2014-03-02T00:00:00");
    write({{"PhonebookId", "1"}, {"CallLogId", "77"}});
    write({{"PhonebookId", "77"}, {"CallLogId", "1"}});
    write({{"PhonebookId", "1"}, {"CallLogId", "1"}}, "visitor");
    const struct {
        const char* words;
        const char* entryIds;
        const char* groups;
    } rows[] = {
        {Both, "E2|E3|E1", "G2|G3|G1"},
        {"PHONE_BOOK.* CALL_LOG.*", "E2|E3|E1", "G2|G3|G1"},
        {"CONVERSATIONS.UniqueId PHONE_BOOK.* CONVERSATIONS.CallLogId CALL_LOG.*", "E2|E3|E1",
         "G2|G3|G1"},
        {"PHONE_BOOK.*", "", "G2|G3|G1"},
        {"CONVERSATIONS.* call_log.* PHONE_BOOK.*", "", "G2|G3|G1"},
    };
    for (const auto& row : rows) {
        const std::string answer = readJoined(row.words);
        EXPECT_EQ(reasonOf(answer), "read_response_with_join");
        EXPECT_EQ(valuesOf(answer, "EntryId"), row.entryIds);
        EXPECT_EQ(valuesOf(answer, "Group"), row.groups);
        EXPECT_EQ(answer.find("UserContext"), std::string::npos);
    }
    const std::string first = readJoined(Both, entry({{"CallLogId", "2"}}));
    EXPECT_EQ(valuesOf(first, "EntryId"), "E2");
    EXPECT_LT(first.find("<JSGroupBy>"), first.find("<Surname>S2</Surname><Firstname>"));
    EXPECT_EQ(valuesOf(talk("read_request"), "UniqueId"), "1|2|3|4|5");
}

TEST_F(ConversationsDAOTest, RequestsThatCannotBeServedChangeNothing) {
    write({{"PhonebookId", "1"}, {"CallLogId", "1"}});
    const struct {
        const char* reason;
        std::string body;
    } rows[] = {
        {"update_request", ""},
        {"write_request", entry({{"UniqueId", "one"}})},
        {"write_request", entry({{"UniqueId", "1);DROP TABLE CONVERSATIONS"}})},
        {"write_request", entry({{"CallLogId", "2"}}) + entry({{"UniqueId", "x"}}) + "<cut"},
        {"read_request", element("ResultCols", "UniqueId")},
        {"read_request", element("ResultCols", "CALL_LOG.* ")},
        {"read_request", element("ResultCols", "(SELECT/**/1)")},
        {"read_request", element("Offset", "0") + element("RowLimit", "x")},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(talk(row.reason, row.body), message("Conversations", "failure")) << row.body;
        EXPECT_EQ(sql("SELECT * FROM CONVERSATIONS"), (Rows{{"1", "base", "1", "1"}}));
    }
    // The last entry fails, so the write runs twice: the first entry is there once all the same.
    talk("write_request", entry({{"CallLogId", "2"}}) + entry({{"UniqueId", "x"}}));
    EXPECT_EQ(cell("SELECT COUNT(*) FROM CONVERSATIONS"), "2");
}

TEST_F(ConversationsDAOTest, RowsGoToAFileAndBack) {
    write({{"PhonebookId", "1"}, {"CallLogId", "a, 'b'"}});
    write({{"PhonebookId", "2"}}, "visitor");
    ConversationsDAO dao(service().getAdapter());
    std::string path = "/tmp/conversations.csv";
    PairList all;
    EXPECT_EQ(dao.exportData(all, path), 0);
    const Rows before = sql("SELECT * FROM CONVERSATIONS");
    EXPECT_EQ(service().getAdapter()->dropTable("CONVERSATIONS"), 0);
    EXPECT_EQ(dao.importData(path), 0);
    EXPECT_EQ(sql("SELECT * FROM CONVERSATIONS"), before);
    writeFile(onDevice(path), ",base,3,x &amp; y\ntoo,few\n");
    EXPECT_EQ(dao.importData(path), 0);
    EXPECT_EQ(cell("SELECT CallLogId FROM CONVERSATIONS WHERE UniqueId = 3"), "x & y");
    EXPECT_EQ(dao.initialiseMobilityUserData("base"), 0);
    EXPECT_EQ(cell("SELECT UniqueId FROM CONVERSATIONS"), "2");
    path = "/tmp/missing.csv";
    EXPECT_EQ(dao.importData(path), 1);
}
