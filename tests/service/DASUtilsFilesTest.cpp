#include "dao/GenConfigDeviceDataItems.h"
#include "settings/GeneralConfigurationDAO.h"
#include "testkit/RecordingAdapter.h"
#include "upgrade/DASMigrator.h"

namespace {

class DASUtilsFilesTest : public AdapterTest {
protected:
    void SetUp() override {
        sql("CREATE TABLE T (Id INTEGER PRIMARY KEY, A TEXT, B TEXT)");
        sql("INSERT INTO T VALUES (1, 'a', 'b,c'), (5, 'o''clock', '')");
        m_rows = sql("SELECT * FROM T");
    }
    void TearDown() override { GenConfigDeviceDataItems::clearDeviceItemMap(); }

    void put(const std::string& text) { writeFile(onDevice(m_path), text); }
    bool apply(const std::string& table, const std::vector<std::string>& columns) {
        return DASUtils::updateItemsInTableWithValuesFromFile(&m_adapter, table, columns, m_path);
    }

    const std::string m_path = "/tmp/file.csv";
    const PairList m_wider = {
        {"C", "TEXT"}, {"Id", "INTEGER PRIMARY KEY"}, {"A", "TEXT"}, {"B", "TEXT"}};
    Rows m_rows;
};

}  // namespace

TEST_F(DASUtilsFilesTest, RowsAreReadBackByTheNamesOfTheFirstLine) {
    struct {
        const char* text;
        bool result;
        Rows rows;
    } const cases[] = {
        {"Id,A,B\n1,a,b\\,c\n\n5,o'clock,", true, m_rows},
        {"B,Id,A\n\"b\",7,a", true, {{"7", "a", "\"b\""}}},
        {"Id,A\n,first\n,second\n", true, {{"1", "first", ""}, {"2", "second", ""}}},
        {"Id,A\n1\n2,a,b\n3,c\nx,y\n", false, {{"3", "c", ""}}},
        {"A); DROP TABLE T; --,B\nx,b", true, {{"1", "", "b"}}},
        {"", false, {}},
    };
    for (const auto& each : cases) {
        SCOPED_TRACE(each.text);
        sql("DELETE FROM T");
        put(each.text);
        EXPECT_EQ(DASUtils::recreateTableFromFile(&m_adapter, "T", m_path), each.result);
        EXPECT_EQ(sql("SELECT * FROM T"), each.rows);
        EXPECT_TRUE(lockIsFree(m_adapter));
    }
}

TEST_F(DASUtilsFilesTest, NewColumnsComeByARebuildThatKeepsTheRows) {
    std::filesystem::remove_all(onDevice("/Aurel_Deploy"));  // no row goes through a file
    sql("UPDATE T SET A = 'line' || char(10) || 'feed\\', B = NULL WHERE Id = 5");
    sql("CREATE VIEW Broken AS SELECT * FROM Missing; CREATE TABLE T_MIGRATION (Stale TEXT)");
    PairList columns = m_wider;
    EXPECT_EQ(DASUtils::updateTableInDatabase(&m_adapter, "T", columns), 1);
    EXPECT_EQ(columns, m_wider);
    EXPECT_EQ(sql("SELECT Id, A, B FROM T"), (Rows{{"1", "a", "b,c"}, {"5", "line\nfeed\\", ""}}));
    EXPECT_EQ(cell("SELECT COUNT(*) FROM pragma_table_info('T')"), "4");
    EXPECT_EQ(DASUtils::updateTableInDatabase(&m_adapter, "T", columns), 0);
    sql("DELETE FROM T");
    columns.erase(columns.begin());
    columns.emplace_back("D", "TEXT");
    EXPECT_EQ(DASUtils::updateTableInDatabase(&m_adapter, "T", columns), 1);
    EXPECT_TRUE(m_log.has(2, "The column C of T is given up"));
}

TEST_F(DASUtilsFilesTest, ARebuildThatFailsLeavesTheTableAsItWas) {
    for (const char* statement :
         {"name = 'T_MIGRATION'", "RENAME", "CREATE", "INSERT", "DROP", "END"}) {
        SCOPED_TRACE(statement);
        m_adapter.intercept = failing(statement, 1, SQLITE_IOERR);
        PairList columns = m_wider;
        EXPECT_EQ(DASUtils::updateTableInDatabase(&m_adapter, "T", columns), 2);
        m_adapter.intercept = {};
        EXPECT_EQ(sql("SELECT * FROM T"), m_rows);
        EXPECT_EQ(m_adapter.executeNonQuery("BEGIN; END;"), 0);
        EXPECT_TRUE(lockIsFree(m_adapter));
    }
    EXPECT_TRUE(m_log.has(
        "CallLogDAO::updateCallLogTableDatabas - FAILED to drop CallLog Table from phone.db"));
}

TEST_F(DASUtilsFilesTest, ASettingOfAFileIsUpdatedOrInserted) {
    GenConfigDeviceDataItems::initialiseDeviceItemMap({{"Net", {{"Address"}, {}}}});
    for (const char* key : {"", ", PRIMARY KEY( Schema, UserContext, Name )"}) {
        SCOPED_TRACE(key);
        sql("DROP TABLE IF EXISTS GENERAL_CONFIG");
        sql(std::string("CREATE TABLE GENERAL_CONFIG (Schema TEXT, UserContext TEXT, Name TEXT, "
                        "Value TEXT") +
            key + ")");
        sql("INSERT INTO GENERAL_CONFIG VALUES ('Net', '', 'Address', 'old'), "
            "('Net', 'visitor', 'Mask', 'old'), ('It''s', 'base', 'X', 'old')");
        put("# Net,base,Mask,comment\n"
            "Net,Address,1\\,2\n"       // of the device
            "Net,Mask,3\n"              // of a user
            "Net,visitor,Mask,new\n"    // as it says
            "It's,base,X,o'clock\n\n"   //
            "Net,,Gateway,\n"           //
            "Net,Address\na,b,c,d,e");  // neither three nor four
        EXPECT_FALSE(apply("GENERAL_CONFIG", {}));
        EXPECT_EQ(sql("SELECT * FROM GENERAL_CONFIG ORDER BY Schema, UserContext, Name"),
                  (Rows{{"It's", "base", "X", "o'clock"},
                        {"Net", "", "Address", "1,2"},
                        {"Net", "", "Gateway", ""},
                        {"Net", "base", "Mask", "3"},
                        {"Net", "visitor", "Mask", "new"}}));
    }
    EXPECT_EQ(m_log.count("csv file entry must be 3 or 4 parameters:"), 4);
    sql("DROP TABLE GENERAL_CONFIG");
    EXPECT_FALSE(apply("GENERAL_CONFIG", {}));
}

TEST_F(DASUtilsFilesTest, ValuesOfAFileBecomeRowsOfOtherTables) {
    sql("DELETE FROM T");
    put("x,,o'clock\n#y,7,\nshort,8\nlong,9,,\nz,no number,\n");
    EXPECT_FALSE(apply("T", {"A", "Id", "B"}));
    EXPECT_EQ(sql("SELECT * FROM T"), (Rows{{"1", "x", "o'clock"}, {"7", "#y", ""}}));
    EXPECT_TRUE(m_log.has(2, "A line of 2 fields for 3 columns is skipped"));
    put("x,y\n");
    EXPECT_FALSE(apply("T", {"A", "X"}));
    EXPECT_TRUE(apply("T", {"A", "B"}));
    EXPECT_TRUE(lockIsFree(m_adapter));
}

TEST_F(ServiceTest, AFileOfSettingsChangesWhatIsKnownOfThem) {
    const std::string path = "/Aurel_Deploy/DasUpdateValues.csv";
    GeneralConfigurationDAO dao(service().getAdapter());
    for (const char* count : {"0", "1"}) {
        std::string found;
        EXPECT_EQ(dao.getRowCountForItemWithContextInSchema("New", "base", found), 0);
        EXPECT_EQ(found, count);
        writeFile(onDevice(path), ",base,New,8\n");
        DASMigrator::updateGeneralConfigTable(&service(), {}, path);
    }
}
