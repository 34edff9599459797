// Calls of an older table, and of data files.

#include "CallLogTest.h"

namespace {

class CallLogFilesTest : public CallLogDAOTest {};

}  // namespace

TEST_F(CallLogFilesTest, AnOlderTableGetsItsColumnsAndEachEntryIsStoredOnce) {
    std::string older;
    PairList all;
    dao().buildColumnNameList(all);
    for (std::size_t i = 0; i < 98; ++i) {
        older += (i > 0 ? ", " : "") + all[i].first + " " + all[i].second;
    }
    sql("CREATE TABLE CALL_LOG (" + older + ")");
    sql("INSERT INTO CALL_LOG (UserContext, Category, Surname, Number0, TimeDate0) VALUES ('base', "
        "'Missed', 'O''Brien, Ann', '1', 't')");
    const std::string plain = element("Entry", element("EntryId", "plain"));
    const std::string full = row({{"EntryId", "full"}}, item(named(ItemElements)));
    // The first run stores neither for lack of JSGroupBy, the second both.
    EXPECT_EQ(valuesOf(write(Missed, plain + full), "UniqueId"), "3");
    EXPECT_EQ(sql("SELECT UniqueId, Surname, EntryId, GroupNumber0 FROM CALL_LOG"),
              (Rows{{"1", "O'Brien, Ann", "", ""},
                    {"2", "", "plain", ""},
                    {"3", "", "full", "GroupNumber"}}));
    EXPECT_EQ(sql("PRAGMA table_info(CALL_LOG)").size(), 139U);
    EXPECT_EQ(dao().updateCallLogTableDatabase(), 0);
    // The first run stores the first two, and the second has to find them.
    std::string eleven;
    for (int i = 0; i < 11; ++i) {
        eleven += call("1", "t");
    }
    write(Missed, plain + full + row({}, eleven));
    EXPECT_EQ(count(), "5");
}

TEST_F(CallLogFilesTest, FilesBringTheRowsOfOneUserInEitherOrder) {
    write(Missed, row({{"Surname", "A, B &amp; 'C'"}}, item(named(ItemElements))));
    write(Missed, row({{"Surname", "stays"}}), "other");
    write(Missed, row({{"Surname", "goes"}}), "visitor");
    std::string path = "/tmp/calls.csv";
    PairList baseRows = {{"UserContext", "'base'"}};
    EXPECT_EQ(dao().exportData(baseRows, path), 0);
    EXPECT_EQ(dao().importDataForUser(path, visitor), 0);
    const auto surnamesOf = [&](const std::string& user) {
        return cell("SELECT group_concat(Surname, '|') FROM CALL_LOG WHERE UserContext = '" + user +
                    "'");
    };
    EXPECT_EQ(surnamesOf("visitor"), "A, B & 'C'");
    EXPECT_EQ(count("GroupNumber0 = 'GroupNumber' AND UniqueId > 3"), "1");

    std::vector<std::string> names;
    dao().getColumnNames(98, names);
    ASSERT_EQ(names.size(), 98U);
    EXPECT_EQ(names[0] + names[4] + names[6] + names[8],
              "UniqueIdUserContextSurnameMornetTStimeFormat0");
    EXPECT_EQ(names.back(), "Duration9");
    const std::string rest(91, ',');
    writeFile(onDevice(path), "7,e,f,p,base,Missed,S &amp; T,v,m0,n0" + rest.substr(3) +
                                  "\nbase,7,Dialled,e2,short\n8,e3" + std::string(200, ',') + "\n");
    EXPECT_EQ(dao().importDataForUser(path, visitor), 0);
    EXPECT_EQ(surnamesOf("visitor"), "S & T|short");
    EXPECT_EQ(sql("SELECT Category, Number0, Duration9 FROM CALL_LOG WHERE Surname = 'S & T'"),
              (Rows{{"Missed", "n0", ""}}));
    EXPECT_TRUE(m_log.has(2, "updateItemInTablemIn = insert failed"));

    EXPECT_EQ(service().getAdapter()->dropTable("CALL_LOG"), 0);
    writeFile(onDevice(path), "base,12,Missed,e,all\nvisitor,,Missed,e,blank\n");
    EXPECT_EQ(dao().importData(path), 0);
    EXPECT_EQ(sql("SELECT UserContext, UniqueId, Surname, GroupNumber9 FROM CALL_LOG"),
              (Rows{{"base", "12", "all", ""}, {"visitor", "13", "blank", ""}}));
    path = "/tmp/missing.csv";
    EXPECT_EQ(dao().importData(path), 1);
    m_log.clear();
    EXPECT_EQ(dao().importDataForUser(path, visitor), 1);
    EXPECT_EQ(count("UserContext = 'visitor'"), "0");
    std::string steps;
    for (const Log::Entry& entry : m_log.entries()) {
        const std::string word = entry.message.substr(0, entry.message.find(' '));
        steps += entry.level == 5 && word != "SELECT" ? word + " " : "";
    }
    EXPECT_EQ(steps, "DELETE Opening error ")
        << "the old rows are gone before the file is asked for";
}
