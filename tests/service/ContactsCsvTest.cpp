// The contacts as a file for web management.

#include "testkit/DataFiles.h"
#include "testkit/RecordingManagement.h"
#include "testkit/ServiceTest.h"

namespace {

class ContactsCsvTest : public ServiceTest {
protected:
    const std::string File = "/tmp/VX_contacts.csv";
    const std::string Header =
        "\"LastName\",\"FirstName\",\"Business1\",\"Business2\",\"Mobile1\",\"Private1\","
        "\"Company1\",\"Address1\",\"Address2\",\"Position\",\"Email1\",\"DefaultDial\"\n";
    RecordingManagement m_management;
};

}  // namespace

TEST_F(ContactsCsvTest, WordWritesTheContactsOfBothUsersAndTellsManagement) {
    m_context.services["LocalMgmtIfc"] = &m_management;
    for (const char* user : {"base", "visitor"}) {
        send("PhoneBook", "write_request",
             xml::context(user, xml::entry({{"Surname", "M\xC3\xBCller, &amp;quot;A&amp;quot;"},
                                            {"Office2", "O'N"},
                                            {"DefaultNumber", "1"},
                                            {"ExternalID", "not told"}})));
    }
    EXPECT_EQ(send("saveContactsToCSV"), "endOfSaveContactsToCSVRequest");
    const std::string line = "\"M\xC3\xBCller, \"\"A\"\"\",,,\"O'N\",,,,,,,,\"1\"\n";
    EXPECT_EQ(readFile(onDevice(File)), Header + line + line);
    EXPECT_EQ(m_management.toWbm, "contacts-status=4;");
}

// It was emptied, and management was sent the status of a new one.
TEST_F(ContactsCsvTest, AnOlderFileOutlivesAFullDisk) {
    m_context.services["LocalMgmtIfc"] = &m_management;
    writeFile(onDevice(File), "older");
    {
        FileSizeLimit limit(40);  // of the file that a run for the contracts writes, too
        EXPECT_EQ(service().processRequest(std::string("saveContactsToCSV")),
                  "endOfSaveContactsToCSVRequest");
    }
    sql("DROP TABLE PHONE_BOOK");
    send("saveContactsToCSV");
    EXPECT_EQ(readFile(onDevice(File)), "older");
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(place() / "root/tmp"), {}), 1);
    EXPECT_TRUE(m_log.has(2, "Cannot write " + File + ": File too large"));
    EXPECT_EQ(m_management.toWbm, "contacts-status=3;contacts-status=3;");
}

TEST_F(ContactsCsvTest, StatusTellsWhetherAFileIsThere) {
    sql("DROP TABLE PHONE_BOOK");
    EXPECT_EQ(send("saveContactsToCSV"), "endOfSaveContactsToCSVRequest");
    EXPECT_EQ(readFile(onDevice(File)), Header);  // there is no table, which the log says
    EXPECT_TRUE(m_log.has(2, "error in the query of the contacts information"));
    EXPECT_TRUE(m_log.has(2, "No LocalMgmtIfc"));
    EXPECT_TRUE(m_log.has(5, "DataAccessService ERROR  Failed to find ACMS"));

    m_context.services["LocalMgmtIfc"] = &m_management;
    service().saveContactsToCSV("/no/such/place.csv");
    EXPECT_TRUE(m_log.has(2, "error in the creation/opening of the /no/such/place.csv file"));
    EXPECT_TRUE(m_log.has(2, "csv contacts file creation is not successful"));
    m_context.services.clear();  // a service that was found once still counts
    service().notifyWBM(File);
    EXPECT_EQ(m_management.toWbm, "contacts-status=3;contacts-status=4;");
}
