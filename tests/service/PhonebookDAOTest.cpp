#include "contacts/PhonebookDAO.h"

#include "database/DatabaseAdapter.h"
#include "testkit/ServiceTest.h"

namespace {

using xml::element;
using xml::entry;
using xml::reasonOf;
using xml::valuesOf;

class PhonebookDAOTest : public ServiceTest {
protected:
    std::string book(const std::string& reason, const std::string& body = {}) {
        return send("PhoneBook", reason, body);
    }
    std::string write(const xml::Fields& fields, const std::string& user = "base") {
        return book("write_request", xml::context(user, entry(fields)));
    }
    /// Surnames in the table, by number; of one user or of all.
    std::string surnames(const std::string& user = "%") {
        return cell(
            "SELECT coalesce(group_concat(Surname, '|'), '') FROM (SELECT Surname FROM "
            "PHONE_BOOK WHERE UserContext LIKE '" +
            user + "' ORDER BY UniqueID)");
    }
    std::string select(const std::string& number, const xml::Fields& values) {
        return element("Select", element("UniqueID", number)) + entry(values);
    }
};

const char* const AllElements[] = {"UniqueID",   "Surname",       "Firstname",  "Office",
                                   "Mobile",     "Private",       "Email",      "Group",
                                   "Company",    "DefaultNumber", "Office2",    "Address",
                                   "Address2",   "JobFunction",   "Picture",    "VoiceDial",
                                   "ExternalID", "ContactSource", "SpeedDialID"};

/// On disk what a full one does: the insert numbered @p refused fails, and SQLite has taken the
/// transaction back.
class FullDiskAdapter : public DatabaseAdapter {
public:
    explicit FullDiskAdapter(int refused) : m_left(refused) {}
    int insertRow(const std::string& table, const std::vector<std::string>& columns,
                  const std::vector<std::string>& values, long long* rowId) override {
        if (m_left-- != 1) {
            return DatabaseAdapter::insertRow(table, columns, values, rowId);
        }
        (void)executeNonQuery("ROLLBACK;");
        return SQLITE_FULL;
    }

private:
    int m_left;
};

}  // namespace

TEST_F(PhonebookDAOTest, EveryElementFillsItsColumnAndComesBackInTheOrderOfTheTable) {
    xml::Fields fields;
    for (const char* name : AllElements) {
        fields.emplace_back(name, name == AllElements[0] ? "41" : std::string("a ") + name);
    }
    fields.emplace_back("CallGroup", "ignored");
    EXPECT_EQ(valuesOf(write(fields), "UniqueID"), "41");
    EXPECT_EQ(cell("SELECT CallGroup FROM PHONE_BOOK"), "a Group");
    fields.pop_back();
    std::swap(fields[8], fields[9]);    // Company, DefaultNumber
    std::swap(fields[14], fields[15]);  // Picture, VoiceDial
    const std::string all = xml::message("PhoneBook", "read_response", entry(fields));
    EXPECT_EQ(book("read_request"), all);
    EXPECT_EQ(book("read_request", element("ResultCols", "PHONE_BOOK.*")), all);
    EXPECT_EQ(book("read_request", element("ResultCols", "PHONE_BOOK.* Mobile phone_book.* Group")),
              xml::message("PhoneBook", "read_response",
                           entry({{"Mobile", "a Mobile"}, {"Group", "a Group"}})));
    EXPECT_EQ(book("read_request", xml::context("visitor", "")),
              xml::message("PhoneBook", "read_response", xml::context("visitor", "")));
}

TEST_F(PhonebookDAOTest, RequestsFindWhatTheyDescribe) {
    write({{"Surname", "berg"}, {"Firstname", "Ada"}, {"Office", "11"}, {"Mobile", "7"}});
    write({{"Surname", "Adler"}, {"Firstname", "Bo"}, {"Office", "22"}, {"Mobile", "11"}});
    write({{"Surname", "O'Hara"}, {"Firstname", "Ada"}, {"Mobile", "33"}});
    write({{"Surname", "Zander"}, {"Firstname", "Cy"}, {"Office", "44"}, {"Mobile", "44"}});
    const auto page = [](const char* offset, const char* limit) {
        return element("Offset", offset) + element("RowLimit", limit);
    };
    const char* const all = "Adler|berg|O'Hara|Zander";
    const char* const read = "read_request";
    const char* const search = "search_phone_number";
    const std::string eleven = entry({{"Office", "11"}, {"Mobile", "11"}});
    const struct {
        const char* name;
        const char* reason;
        std::string body;
        const char* surnames;
    } rows[] = {
        {"all, in any case of letters", read, "", all},
        {"both patterns", read, entry({{"SurnameLike", "ER"}, {"FirstnameLike", "a"}}), "berg"},
        {"quote in a pattern", read, entry({{"SurnameLike", "o'h"}}), "O'Hara"},
        {"SQL in a pattern", read, entry({{"SurnameLike", "' OR '%'='"}}), ""},
        {"columns", read, element("ResultCols", "Firstname Group Surname"), all},
        {"blank after columns", read, element("ResultCols", "Surname "), "failure"},
        {"SQL as column", read, element("ResultCols", "1;DROP/**/TABLE/**/PHONE_BOOK"), "failure"},
        {"page", read, page("1", "2"), "berg|O'Hara"},
        {"huge offset", read, page("99999999999999999999", "2"), ""},
        {"number and SQL", read, page("0", "1;DROP TABLE PHONE_BOOK"), "Adler"},
        {"limit alone", read, page("", "1;DROP TABLE PHONE_BOOK"), all},
        {"unique id", read, entry({{"UniqueID", " 2 "}}), "Adler"},
        {"SQL as unique id", read, entry({{"UniqueID", "2 OR 1=1"}}), "failure"},
        {"plain name with the word", read, entry({{"Surname", "LIKE '%'"}}), "failure"},
        {"first entry tested, last used", read,
         entry({{"Surname", "berg"}}) + entry({{"Surname", "Adler"}, {"Office", "44"}}), "Adler"},
        {"search", search, eleven, "berg|Adler"},
        {"search with SQL", search, eleven + element("RowLimit", "1;DROP TABLE x"), "failure"},
        {"external id", "search_by_external_id", entry({{"Mobile", "33"}}), "O'Hara"},
    };
    for (const auto& row : rows) {
        const std::string answer = book(row.reason, row.body);
        EXPECT_EQ(reasonOf(answer) == "failure" ? "failure" : valuesOf(answer, "Surname"),
                  row.surnames)
            << row.name;
    }
    EXPECT_EQ(book("rowcount_request", entry({{"SurnameLike", "er"}})),
              xml::message("PhoneBook", "rowcount_response", "<count>3</count>"));
    EXPECT_EQ(surnames(), "berg|Adler|O'Hara|Zander");
}

TEST_F(PhonebookDAOTest, AnySurnameIsStoredAsItWasSent) {
    std::vector<std::string> values = {"",           "LIKE '%'",    "a''b",
                                       "line\nfeed", "Smith, John", "\"J\""};
    values.emplace_back("\xF0\x9F\x93\x9E");
    values.emplace_back("'); DROP TABLE PHONE_BOOK; --");
    for (const std::string& value : values) {
        const std::string id = valuesOf(write({{"Surname", value}}), "UniqueID");
        EXPECT_EQ(cell("SELECT Surname FROM PHONE_BOOK WHERE UniqueID = " + id), value);
        EXPECT_EQ(valuesOf(book("read_request", entry({{"UniqueID", id}})), "Surname"), value);
    }
    EXPECT_EQ(reasonOf(write({{"SurnameLike", "x"}})), "failure");
    EXPECT_EQ(reasonOf(write({{"UniqueID", "1);DROP TABLE PHONE_BOOK"}})), "failure");
    EXPECT_EQ(cell("SELECT COUNT(*) FROM PHONE_BOOK"), std::to_string(values.size()));
}

TEST_F(PhonebookDAOTest, ReadOfAllColumnsByNameHidesWhatConversationsName) {
    write({{"Surname", "shown"}});
    write({{"Surname", "hidden"}});
    const std::string allByName = element("ResultCols", "PHONE_BOOK.*");
    EXPECT_EQ(valuesOf(book("read_request", allByName), "Surname"), "hidden|shown");
    sql("INSERT INTO CONVERSATIONS VALUES (NULL, 'base', '2', '7'), (NULL, 'base', NULL, NULL)");
    EXPECT_EQ(valuesOf(book("read_request", allByName), "Surname"), "shown");
    EXPECT_EQ(valuesOf(book("read_request"), "Surname"), "hidden|shown");
}

TEST_F(PhonebookDAOTest, UsersKeepSeparateBooks) {
    write({{"Surname", "b1"}});
    write({{"Surname", "v1"}}, "visitor");
    write({{"Surname", "v2"}}, "visitor");
    EXPECT_EQ(valuesOf(book("read_request", xml::context("visitor", "")), "Surname"), "v1|v2");
    EXPECT_EQ(reasonOf(book("delete_request", entry({{"UniqueID", "2"}}))), "delete_response");
    EXPECT_EQ(surnames(), "b1|v1|v2");
    book("delete_request", xml::context("visitor", entry({{"UniqueID", "2"}})));
    EXPECT_EQ(surnames(), "b1|v2");
    EXPECT_EQ(reasonOf(book("delete_request", entry({{"SurnameLike", ""}}))), "failure");
    EXPECT_EQ(reasonOf(book("update_request", entry({{"Surname", "all"}}))), "failure");
    EXPECT_EQ(reasonOf(book("update_request", select("3", {{"Surname", "v3"}}))),
              "update_response");
    writeFile(onDevice("/tmp/base.csv"), "visitor,3,b2\nvisitor,,b3\n");
    EXPECT_TRUE(service().importData("PhoneBook", base, "/tmp/base.csv"));
    EXPECT_EQ(surnames("base"), "b2|b3");
    EXPECT_EQ(surnames("visitor"), "v3");
    book("delete_request", xml::context("a'b", ""));
    PhonebookDAO(service().getAdapter()).deleteVisitorPhonebook();
    EXPECT_EQ(surnames(), "b2|b3");
    book("delete_request");
    EXPECT_EQ(surnames(), "");
}

TEST_F(PhonebookDAOTest, WritesFailOnADiskThatIsMoreThanNineTenthsFull) {
    ::setenv("DAS_DISK_USAGE", "91", 1);
    EXPECT_EQ(reasonOf(write({{"Surname", "x"}})), "failure");
    EXPECT_TRUE(m_log.has(2, "writeRequest Out of disk space 91% full"));
    ::setenv("DAS_DISK_USAGE", "90", 1);
    EXPECT_EQ(reasonOf(write({{"Surname", "x"}})), "write_response");
    EXPECT_EQ(reasonOf(book("write_request")), "failure");  // no entry
    EXPECT_EQ(surnames(), "x");
}

TEST_F(PhonebookDAOTest, DiskThatFillsUpInABatchNeitherLosesNorDoublesAContact) {
    write({{"Surname", "old"}});
    stop();
    std::string batch;
    for (const char* name : {"a", "b", "c", "d", "e"}) {
        batch += entry({{"Surname", name}});
    }
    // Refused in the middle, at the end and at the beginning; the second run has room.
    for (const int refused : {3, 5, 1}) {
        FullDiskAdapter adapter(refused);
        PhonebookDAO dao(&adapter);
        dao.setCurrentUser("base");
        const std::string request = xml::message("PhoneBook", "write_request", batch);
        dao.handleRequest(request.data(), static_cast<int>(request.size()));
        EXPECT_EQ(dao.responseReason(), "write_response") << refused;
        EXPECT_EQ(cell("SELECT group_concat(Surname, '') FROM (SELECT Surname FROM PHONE_BOOK "
                       "ORDER BY Surname)"),
                  "abcdeold")
            << refused;
        EXPECT_EQ(valuesOf(dao.getResponseMsg(), "UniqueID"),
                  cell("SELECT UniqueID FROM PHONE_BOOK WHERE Surname = 'e'"));
        sql("DELETE FROM PHONE_BOOK WHERE Surname <> 'old'");
    }
}

TEST_F(PhonebookDAOTest, ImportsTakeWhatLinesHold) {
    const std::string many = "v,9,n" + std::string(20, ',');
    const struct {
        const char* name;
        std::string text;
        const char* imported;  ///< into the book of both users
        const char* ofBase;
    } rows[] = {
        {"too few and too many fields", "visitor,,a,Ann\n" + many + "\nbase,5,b\n", "a|b", "a|b"},
        {"no last line feed, carriage returns", "base,,a\r\nbase,,b", "a|b", "a|b"},
        {"escapes, comma, quote, SQL", "base,,O'H &amp;\\, &quot;x&quot;'); DROP TABLE x;--\n",
         "O'H &, \"x\"'); DROP TABLE x;--", "O'H &, \"x\"'); DROP TABLE x;--"},
        {"number that is no number", "base,1 OR 1,a\nbase,,b\n", "b", "a|b"},
    };
    for (const auto& row : rows) {
        writeFile(onDevice("/tmp/in.csv"), row.text);
        service().importData("PhoneBook", "/tmp/in.csv");
        EXPECT_EQ(surnames(), row.imported) << row.name;
        service().importData("PhoneBook", base, "/tmp/in.csv");
        EXPECT_EQ(surnames("base"), row.ofBase) << row.name;
        sql("DELETE FROM PHONE_BOOK");
    }
    write({{"Surname", "x"}});
    EXPECT_TRUE(service().importData("PhoneBook", "/tmp/missing.csv"));
    EXPECT_EQ(surnames(), "x");
    EXPECT_TRUE(service().importData("PhoneBook", base, "/tmp/missing.csv"));
    EXPECT_EQ(surnames(), "");  // the old ones go before the file is opened
    EXPECT_EQ(m_log.count("failed with 1, schema = PhoneBook"), 2);
}

TEST_F(PhonebookDAOTest, AnExportComesBackWithEveryValueButThePathOfThePicture) {
    write({{"Surname", "M\xC3\xBCller, A."},
           {"Company", "\"Q\" O'N"},
           {"Picture", "/data/images/a.png"}});
    EXPECT_TRUE(service().exportData("PhoneBook", static_cast<eUserCategory>(2), "/tmp/all.csv"));
    const Rows before = sql("SELECT * FROM PHONE_BOOK ORDER BY UniqueID");
    (void)service().getAdapter()->dropTable("PHONE_BOOK");
    EXPECT_TRUE(service().importData("PhoneBook", "/tmp/all.csv"));
    Rows expected = before;
    expected[0][16] = "a.png";
    EXPECT_EQ(sql("SELECT * FROM PHONE_BOOK ORDER BY UniqueID"), expected);
}
