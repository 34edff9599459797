#include "calls/CallLogDAO.h"

#include "CallLogTest.h"

namespace {

const char* const ContactElements =
    "UserContext UniqueID Surname Firstname Office Mobile Private Email Group DefaultNumber "
    "Company "
    "Office2 Address Address2 JobFunction VoiceDial Picture ExternalID ContactSource SpeedDialID";

}  // namespace

TEST_F(CallLogDAOTest, EveryElementFillsItsColumn) {
    write(Missed,
          row(named(RowElements), item(named(ItemElements, "0")) + item(named(ItemElements, "1"))));
    const Rows table = sql("PRAGMA table_info(CALL_LOG)");
    ASSERT_EQ(table.size(), 139U);
    std::string names;
    for (const std::size_t place :
         {0U, 1U, 2U, 7U, 8U, 16U, 17U, 97U, 98U, 108U, 109U, 119U, 138U}) {
        names += table[place][1] + " ";
    }
    EXPECT_EQ(names,
              "UserContext UniqueId Category Viewed MornetTStimeFormat0 Duration0 "
              "MornetTStimeFormat1 Duration9 ResolvedNumber0 JSGroupBy CompletedElsewhere0 "
              "GroupName0 GroupNumber9 ");
    EXPECT_EQ(
        sql("SELECT UserContext, UniqueId, Category, EntryId, PictureClip, Viewed, JSGroupBy, "
            "AuxiliaryNumber0, AuxFirstName0, Duration0, MornetTStimeFormat1, "
            "ResolvedNumber1, CompletedElsewhere1, GroupNumber1, GroupNumber9 FROM CALL_LOG"),
        (Rows{{"base", "1", "Missed", "EntryId", "Picture", "Viewed", "JSGroupBy",
               "ConnectedNumber0", "ConnectedFirstName0", "Duration0", "MornetTStimeFormat1",
               "ResolvedNumber1", "CompletedElsewhere1", "GroupNumber1", ""}}));
    EXPECT_EQ(count("GroupNumber9 IS NULL"), "0");
    write(Missed, row({}, item({{"DeflectNumber", "d"},
                                {"TransferType", "t"},
                                {"TargetLog", "x"},
                                {"NumberPresentation", "x"},
                                {"NamePresentation", "x"},
                                {"TimeFormat", "x"}})));
    EXPECT_EQ(sql("SELECT AuxiliaryNumber0, CompletedElsewhere0, MornetTStimeFormat0 FROM CALL_LOG "
                  "WHERE UniqueId = 2"),
              (Rows{{"d", "t", ""}}));
}

TEST_F(CallLogDAOTest, EachReadShowsTheTagsOfItsCategory) {
    const std::string front = "MornetTStimeFormat Number NumberType ";
    const std::string connected =
        "ConnectedNumber ConnectedNumberType ConnectedSurname ConnectedFirstName TimeDate ";
    const struct {
        const char* schema;
        const char* category;
        std::string shown;
    } kinds[] = {
        {Dialled, "Dialled", front + "ResolvedNumber TimeDate Duration"},
        {"CallLogForwardedCalls", "Forwarded", front + connected + "Duration"},
        {Missed, "Missed", front + connected + "CompletedElsewhere GroupName GroupNumber"},
        {"CallLogReceivedCalls", "Received", front + connected + "Duration"},
    };
    for (const auto& kind : kinds) {
        SCOPED_TRACE(kind.category);
        // Places without a time are there, and never come back.
        const std::string timeless = item({{"Number", "n"}, {"Duration", "d"}});
        write(kind.schema, row(named(RowElements), item(named(ItemElements, "0")) + timeless +
                                                       timeless + item(named(ItemElements, "3"))));
        const bool isMissed = kind.schema == Missed;
        const auto answer = [&](const char* schema) {
            std::string items;
            for (const char* place : {"0", "3"}) {
                xml::Fields fields = named(kind.shown, place);
                if (schema == Joined && !isMissed) {
                    fields.emplace_back("TransferType", std::string("CompletedElsewhere") + place);
                }
                items += item(fields);
            }
            return elements({{"UniqueId", cell("SELECT MAX(UniqueId) FROM CALL_LOG")},
                             {"Category", kind.category},
                             {"EntryId", "EntryId"},
                             {"Surname", "Surname"},
                             {"Firstname", "Firstname"},
                             {"Picture", "Picture"}}) +
                   (isMissed ? "<Viewed>Viewed</Viewed>" : "") + element("LogList", items) +
                   "<JSGroupBy>JSGroupBy</JSGroupBy>";
        };
        for (const char* schema : {kind.schema, All, Joined}) {
            std::string contact;
            for (const auto& field : named(schema == Joined ? ContactElements : "")) {
                contact += element(field.first, "");
            }
            EXPECT_EQ(send(schema, "read_request"),
                      message(schema, "read_response", element("Entry", answer(schema) + contact)));
        }
        converse(cell("SELECT MAX(UniqueId) FROM CALL_LOG").c_str(), "1");
        sql("INSERT OR REPLACE INTO PHONE_BOOK (UniqueID, Surname) VALUES (1, '')");
        EXPECT_NE(send("Conversations", "read_request", columns("CALL_LOG.*"))
                      .find(element("Entry", answer(All))),
                  std::string::npos);
        sql("DELETE FROM CALL_LOG");
    }
}

TEST_F(CallLogDAOTest, RequestsFindWhatTheyDescribe) {
    write(Missed,
          row({{"EntryId", "old"}, {"Surname", "O'Hara"}}, call("11", "2014-03-01T00:00:00")));
    write(Missed, row({{"EntryId", "new"}}, call("22", "2014-03-03T00:00:00")));
    write(Dialled, row({{"EntryId", "mid"}}, call("11", "2014-03-02T00:00:00")));
    write(Missed, row({{"EntryId", "visitor"}}, call("11", "2014-03-04T00:00:00")), "visitor");
    converse("1", "7");
    sql("INSERT INTO CONVERSATIONS VALUES (NULL, 'base', NULL, NULL)");  // names and hides nothing
    const auto page = [](const char* offset, const char* limit) {
        return element("Offset", offset) + element("RowLimit", limit);
    };
    const struct {
        const char* name;
        const char* schema;
        std::string body;
        const char* ids;
    } rows[] = {
        {"one category", Missed, "", "1|2"},
        {"the other user", Missed, xml::context("visitor", ""), "4"},
        {"all, newest first", All, "", "2|3|1"},
        {"a field", Missed, entry({{"Surname", "O'Hara"}}), "1"},
        {"two fields", All, entry({{"UniqueId", "3"}, {"EntryId", "mid"}}), "3"},
        {"number of another category", Missed, entry({{"UniqueId", "3"}}), ""},
        {"number of another user", All, entry({{"UniqueId", "4"}}), ""},
        {"the first entry counts", All, entry({{"EntryId", "old"}}) + entry({{"EntryId", "new"}}),
         "1"},
        {"the grouping key is no term", Dialled, entry({{"JSGroupBy", "x"}}), "3"},
        {"columns", Missed, columns("UniqueId Number0 CALL_LOG.EntryId"), "1|2"},
        {"whole rows by name hide", All, columns("CALL_LOG.*"), "2|3"},
        {"whole rows of a category do not", Missed, columns("CALL_LOG.*"), "1|2"},
        {"columns do not", All, columns("CALL_LOG.UniqueId"), "2|3|1"},
        {"joined rows always hide", Joined, "", "2|3"},
        {"joined columns hide too", Joined, columns("CALL_LOG.UniqueId"), "2|3"},
        {"joined with terms", Joined, entry({{"UniqueId", "3"}, {"EntryId", "mid"}}), "3"},
        {"page", All, page("1", "1"), "3"},
        {"limit alone", All, page("", "1;DROP TABLE CALL_LOG"), "2|3|1"},
        {"SQL in a page", All, page("0", "1;DROP TABLE CALL_LOG"), "failure"},
        {"SQL as column", All, columns("1;DROP/**/TABLE/**/CALL_LOG"), "failure"},
        {"contacts that are not joined", All, columns("PHONE_BOOK.*"), "failure"},
        {"ambiguous column", Joined, columns("UniqueId"), "failure"},
        {"SQL as user", All, xml::context("x' OR '1'='1", ""), ""},
    };
    for (const auto& each : rows) {
        SCOPED_TRACE(each.name);
        const std::string answer = send(each.schema, "read_request", each.body);
        EXPECT_EQ(reasonOf(answer) == "failure" ? "failure" : valuesOf(answer, "UniqueId"),
                  each.ids);
        if (each.body.find("Offset") == std::string::npos &&
            each.body.find("ResultCols") == std::string::npos && each.schema != Joined) {
            const std::string ids = each.ids;
            const auto size = ids.empty() ? 0 : std::count(ids.begin(), ids.end(), '|') + 1;
            EXPECT_EQ(
                send(each.schema, "rowcount_request", each.body),
                message(each.schema, "rowcount_response", element("count", std::to_string(size))));
        }
    }
    EXPECT_EQ(send(All, "read_request",
                   entry({{"UniqueId", "1"}}) +
                       columns("Number0 CALL_LOG.Surname PictureClip JSGroupBy")),
              message(All, "read_response",
                      entry({{"Surname", "O'Hara"}, {"Picture", ""}, {"JSGroupBy", ""}})));
}

TEST_F(CallLogDAOTest, JoinedRowsCarryTheContactOfTheNewestNumber) {
    const char* const numbers[] = {"Office", "Office2", "Mobile", "Private"};
    for (const char* field : numbers) {
        send("PhoneBook", "write_request",
             entry({{"Surname", std::string("contact ") + field}, {field, field}}));
        write(Missed, row({}, call(field, "2014-03-07T09:15:30")));
    }
    send("PhoneBook", "write_request",
         xml::context("visitor", entry({{"Surname", "other"}, {"Office", "visitors"}})));
    send("PhoneBook", "write_request", entry({{"Surname", "blank"}, {"Office", ""}}));
    send("PhoneBook", "write_request",
         entry({{"Surname", "again"}, {"Office", "Office"}, {"Mobile", "Office"}}));
    write(Missed, row({}, call("visitors", "2014-03-07T09:15:29")));
    write(Missed, row({}, call("", "2014-03-07T09:15:28")));
    write(Missed,
          row({}, call("x", "2014-03-07T09:15:27") + call("Office", "2014-03-07T09:15:26")));
    for (const char* words : {"", "CALL_LOG.* PHONE_BOOK.*", "PHONE_BOOK.* CALL_LOG.*",
                              "CALL_LOG.UniqueId PHONE_BOOK.* CALL_LOG.* CALL_LOG.EntryId"}) {
        SCOPED_TRACE(words);
        const std::string answer = send(Joined, "read_request", *words ? columns(words) : "");
        EXPECT_EQ(valuesOf(answer, "UniqueId"), "1|2|3|4|5|6|7");
        for (const char* field : numbers) {
            EXPECT_NE(valuesOf(answer, field).find(field), std::string::npos) << field;
        }
        EXPECT_EQ(answer.find("other"), std::string::npos);
        EXPECT_EQ(answer.find("blank"), std::string::npos);
    }
    EXPECT_EQ(valuesOf(send(Joined, "read_request", columns("CALL_LOG.*")), "Office"), "");
    EXPECT_EQ(send(Joined, "read_request", entry({{"UniqueId", "1"}}) + columns("PHONE_BOOK.*")),
              message(Joined, "read_response", entry({})));
}

TEST_F(CallLogDAOTest, TablesThatAReadNamesAreMadeFirst) {
    for (const char* schema : {Joined, All, Missed}) {
        EXPECT_EQ(send(schema, "read_request", columns("CALL_LOG.*")),
                  message(schema, "read_response"));
    }
    EXPECT_EQ(cell("SELECT COUNT(*) FROM sqlite_master WHERE name IN ('CALL_LOG', 'PHONE_BOOK', "
                   "'CONVERSATIONS')"),
              "3");
}

TEST_F(CallLogDAOTest, WritesThatCannotBeLeaveTheTableAsItWas) {
    EXPECT_EQ(write(All, ""), message(All, "write_response", entry({{"UniqueId", "0"}})));
    std::string ten;
    for (int i = 0; i < 10; ++i) {
        ten += call(std::to_string(i), "2014-03-07T09:15:30");
    }
    EXPECT_EQ(valuesOf(write(Missed, row({}, ten)), "UniqueId"), "1");
    const struct {
        const char* name;
        const char* schema;
        const char* reason;
        std::string body;
    } rows[] = {
        {"eleven items", Missed, "write_request", row({}, ten + call("10", "t"))},
        {"eleven items without a list", Missed, "write_request",
         element("Entry", ten + call("10", "t"))},
        {"a word as number", Missed, "write_request", row({{"UniqueId", "one"}})},
        {"SQL as number", Missed, "write_request", row({{"UniqueId", "1);DROP TABLE CALL_LOG"}})},
        {"unknown schema", "CallLogLostCalls", "write_request", row({})},
        {"unknown reason", Missed, "update_request", row({})},
        {"damaged", Missed, "write_request", row({}) + "</Schema>"},
    };
    for (const auto& each : rows) {
        SCOPED_TRACE(each.name);
        EXPECT_EQ(send(each.schema, each.reason, each.body), message(each.schema, "failure"));
        EXPECT_EQ(count(), "1");
    }
    EXPECT_EQ(cell("SELECT Number9 FROM CALL_LOG"), "9");
    EXPECT_TRUE(m_log.has(2, "Parsing a CallLogDAO '"));
    EXPECT_TRUE(m_log.has(5, "Updating CallLog Table..."));
}

TEST_F(CallLogDAOTest, ARowWithItsNumberTakesThePlaceOfTheOldOne) {
    write(Missed, row({{"EntryId", "e"}}, call("1", "t") + call("2", "t") + call("3", "t")));
    EXPECT_EQ(valuesOf(write(Dialled, row({{"UniqueId", "1"}}, call("4", "u") + call("5", "u"))),
                       "UniqueId"),
              "1");
    EXPECT_EQ(sql("SELECT Category, EntryId, Number0, Number1, Number2, TimeDate9 FROM CALL_LOG"),
              (Rows{{"Dialled", "", "4", "5", "", ""}}));
    // An entry without a list of calls names no places; it can be read all the same.
    write(Dialled, entry({{"UniqueId", "1"}, {"EntryId", "bare"}}));
    EXPECT_EQ(valuesOf(send(All, "read_request"), "EntryId"), "bare");
    EXPECT_EQ(valuesOf(send(Joined, "read_request"), "LogList"), "");
}

TEST_F(CallLogDAOTest, TextsComeBackAsTheyWereSent) {
    const std::string texts[] = {"O'Brien", "''", std::string(70, '7'), "+49 (89) x",
                                 "'); DROP TABLE CALL_LOG;"};
    for (const std::string& text : texts) {
        write(Missed, row({{"Surname", text}}, call(text, "today")));
        const std::string answer = send(Missed, "read_request", entry({{"Surname", text}}));
        EXPECT_EQ(valuesOf(answer, "Surname") + valuesOf(answer, "Number"), text + text);
    }
    write(Missed, row({}), "O'Neil");
    EXPECT_EQ(count("UserContext = 'O''Neil'"), "1");
}

TEST_F(CallLogDAOTest, DeletesReachTheCategoryOfTheUser) {
    EXPECT_EQ(reasonOf(send(All, "delete_request")), "failure");
    const auto fill = [&] {
        for (const char* user : {"base", "visitor"}) {
            write(Missed, row({{"EntryId", "m1"}}) + row({{"EntryId", "m2"}}), user);
            write(Dialled, row({{"EntryId", "d1"}}), user);
        }
    };
    const struct {
        const char* schema;
        std::string body;
        const char* left;
    } rows[] = {
        {Missed, "", "d1"},
        {Missed, entry({{"EntryId", "m1"}}), "m2|d1"},
        {Missed, entry({{"EntryId", "m1"}}) + entry({{"EntryId", "m2"}}), "d1"},
        {Missed, entry({{"EntryId", "d1"}}), "m1|m2|d1"},
        {All, entry({{"EntryId", "d1"}}), "m1|m2"},
        {All, "", ""},
        {Joined, entry({{"EntryId", "m1"}}), "m2|d1"},
    };
    const auto entriesOf = [&](const std::string& user) {
        return cell(
            "SELECT coalesce(group_concat(EntryId, '|'), '') FROM CALL_LOG WHERE "
            "UserContext = '" +
            user + "'");
    };
    for (const auto& each : rows) {
        fill();
        EXPECT_EQ(send(each.schema, "delete_request", each.body),
                  message(each.schema, "delete_response"));
        EXPECT_EQ(entriesOf("base"), each.left);
        EXPECT_EQ(entriesOf("visitor"), "m1|m2|d1");
        sql("DELETE FROM CALL_LOG");
    }
    fill();
    EXPECT_EQ(dao().initialiseMobilityUserData("base"), 0);
    EXPECT_EQ(entriesOf("base") + entriesOf("visitor"), "m1|m2|d1");
    EXPECT_EQ(dao().deleteVisitorCallLog(), 0);
    EXPECT_EQ(count(), "0");
}
