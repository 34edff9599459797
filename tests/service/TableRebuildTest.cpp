// Tables that get the columns of their objects, and what is left when that fails.

#include "upgrade/DASMigrator.h"

#include "dao/DataAccessObject.h"
#include "testkit/RecordingAdapter.h"

namespace {

/// A test of one operation over a database of this release whose adapter can fail.
class RebuildTest : public RecordedServiceTest {
protected:
    bool rebuild(const char* schema, const char* table) {
        return DASMigrator::rebuildIntoDaoColumns(&service(), schema, table);
    }
    std::string columns(const std::string& table) {
        return cell("SELECT group_concat(name) FROM pragma_table_info('" + table + "')");
    }
    /// Everything that the tables of the phone book hold.
    Rows everything() {
        Rows rows = sql("SELECT type, name, sql FROM sqlite_master ORDER BY name");
        for (const char* table : {"PHONE_BOOK", "sqlite_sequence"}) {
            const Rows more = sql(std::string("SELECT * FROM ") + table);
            rows.insert(rows.end(), more.begin(), more.end());
        }
        return rows;
    }
};

const char* const ContactColumns =
    "UserContext,UniqueID,Surname,Firstname,Office,Mobile,Private,Email,CallGroup,DefaultNumber,"
    "Company,Office2,Address,Address2,JobFunction,VoiceDial,Picture,ExternalID,ContactSource,"
    "SpeedDialID";

}  // namespace

TEST_F(RebuildTest, CellsGoByNameIntoTheColumnsOfTheObject) {
    const struct {
        const char* name;
        const char* columns;
        const char* cells;
        const char* contact;
    } rows[] = {
        {"another order", "(Surname, UniqueID INTEGER PRIMARY KEY, Firstname, UserContext)",
         "('O''Neil', 7, NULL, NULL)", "base|7|O'Neil||"},
        {"unknown columns", "(x, Surname, y, UniqueID, z)",
         "('1', 'O''Neil', '2', '7', '3')", "base|7|O'Neil||"},
        {"names in other letters", "(SURNAME, uniqueid)", "('O''Neil', 7)", "base|7|O'Neil||"},
        {"no number", "(Firstname, Surname)", "('Pat', 'O''Neil')", "base|1|O'Neil|Pat|"},
        {"a blank number", "(UniqueID, Surname)", "('', 'O''Neil')", "base|1|O'Neil||"},
        {"no name", "(Office, UniqueID)", "('12', 7)", "base|7|||"},
    };
    for (const auto& each : rows) {
        SCOPED_TRACE(each.name);
        sql("DROP TABLE PHONE_BOOK; CREATE TABLE PHONE_BOOK " + std::string(each.columns) +
            "; INSERT INTO PHONE_BOOK VALUES " + each.cells);
        service().constructorActions();  // a connection that knows the new columns
        EXPECT_TRUE(rebuild("PhoneBook", "PHONE_BOOK"));
        EXPECT_FALSE(rebuild("PhoneBook", "PHONE_BOOK")) << "nothing is left to do";
        EXPECT_EQ(columns("PHONE_BOOK"), ContactColumns);
        EXPECT_EQ(joined("SELECT UserContext, UniqueID, Surname, Firstname FROM PHONE_BOOK"),
                  each.contact);
    }
}

// A disk that fails may leave no state in between.
TEST_F(RebuildTest, AFailureOfAnyStatementLeavesTheTableAsItWas) {
    sql("DROP TABLE PHONE_BOOK;"
        "CREATE TABLE PHONE_BOOK (UniqueID INTEGER PRIMARY KEY AUTOINCREMENT, Surname TEXT);"
        "INSERT INTO PHONE_BOOK VALUES (5, 'A'), (9, NULL);"
        "CREATE INDEX Surname_INDEX ON PHONE_BOOK (Surname);");
    service().constructorActions();  // a connection that knows the columns
    const Rows before = everything();
    for (const char* statement :
         {"BEGIN", "sqlite_master", "ALTER TABLE", "CREATE TABLE", "INSERT INTO PHONE_BOOK",
          "INSERT INTO sqlite_sequence", "UPDATE sqlite_sequence", "DROP TABLE", "END"}) {
        SCOPED_TRACE(statement);
        m_log.clear();
        m_adapter->intercept = failing(statement, 1, SQLITE_FULL);
        EXPECT_FALSE(rebuild("PhoneBook", "PHONE_BOOK"));
        EXPECT_EQ(everything(), before);
        EXPECT_TRUE(m_log.has(2, "The table PHONE_BOOK could not be rebuilt and stays as it was"));
        EXPECT_TRUE(lockIsFree(*m_adapter));
    }
    m_adapter->intercept = failing("CREATE INDEX", 1, SQLITE_FULL);
    EXPECT_TRUE(rebuild("PhoneBook", "PHONE_BOOK")) << "an index is no reason to give up rows";
    EXPECT_EQ(cell("SELECT COUNT(*) FROM PHONE_BOOK WHERE UniqueID = 9 AND Surname = ''"), "1");
    EXPECT_FALSE(rebuild("NoSuchSchema", "PHONE_BOOK"));
    EXPECT_FALSE(rebuild("FixedKeys", "PHONE_BOOK"));
}

// Rows that were read by the position of their cells came back with blank numbers.
TEST_F(RebuildTest, CallsOfAnotherOrderAreOnlyReadOnceTheyAreInOrder) {
    (void)send("CallLog", "read_request");
    sql("ALTER TABLE CALL_LOG DROP COLUMN Viewed; ALTER TABLE CALL_LOG ADD COLUMN Viewed TEXT;"
        "INSERT INTO CALL_LOG (EntryId, Number0, Number1) VALUES ('E', '1', '2');");
    service().constructorActions();  // a connection that knows the columns
    const Rows before = sql("SELECT * FROM CALL_LOG");
    m_adapter->intercept = failing("ALTER TABLE", 1, SQLITE_FULL);
    EXPECT_EQ(DASMigrator::callLogTableChecker(&service()), 0);
    EXPECT_TRUE(m_log.has(2, "The calls are not checked: CALL_LOG has other columns"));
    EXPECT_EQ(sql("SELECT * FROM CALL_LOG"), before);
    EXPECT_EQ(DASMigrator::callLogTableChecker(&service()), 1);
    EXPECT_EQ(joined("SELECT Number0, Number1 FROM CALL_LOG ORDER BY UniqueId"), "2||1||");
}

// A move that is done by half would be done again at the next start, by another 144.
TEST_F(RebuildTest, LampsThatCannotBeMovedKeepTheirIds) {
    const Rows before = {{"base", "618", "1", "2"}};
    for (const char* statement : {"DELETE", "INSERT", "UPDATE", "END"}) {
        SCOPED_TRACE(statement);
        sql("DELETE FROM FORWARDING_KEY_DESTINATIONS;"
            "INSERT INTO FORWARDING_KEY_DESTINATIONS VALUES ('base', '618', '1', '2');");
        m_adapter->intercept = failing(statement, 1, SQLITE_IOERR);
        DASMigrator::addDefaultRowsToExistingTablesWhereMissing(&service());
        m_adapter->intercept = {};
        EXPECT_EQ(sql("SELECT * FROM FORWARDING_KEY_DESTINATIONS WHERE ForwardingType = '2'"),
                  before);
        EXPECT_TRUE(lockIsFree(*m_adapter));
    }
}
