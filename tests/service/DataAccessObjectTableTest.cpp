#include <stdexcept>

#include "dao/DataAccessObject.h"
#include "testkit/RecordingAdapter.h"

namespace {

/// An object for a table of three rows: the default of A is the same in all, that of B another in
/// each.
class DataAccessObjectTableTest : public AdapterTest {
protected:
    void SetUp() override { EXPECT_EQ(m_dao.createTable(), 0); }

    static std::shared_ptr<const TableLayout> layout(bool defaultRowsPerUser,
                                                     const std::vector<std::string>& defaultsOfB) {
        auto layout = std::make_shared<TableLayout>();
        layout->schema = "Some";
        layout->table = "T";
        layout->hasDefaultRowsPerUser = defaultRowsPerUser;
        layout->columns = {{"UserContext", "TEXT", std::string()},
                           {"Id", "TEXT", std::string()},
                           {"A", "TEXT", std::string("a")},
                           {"B", "TEXT", defaultsOfB}};
        layout->defaultRowIds = {"7", "8", "9"};
        return layout;
    }

    /// Replaces the contents of the table by these VALUES.
    void fill(const std::string& values) {
        sql("DELETE FROM T");
        if (!values.empty()) {
            sql("INSERT INTO T VALUES " + values);
        }
    }
    /// The cells of a row one after the other, rows in the order of their insertion.
    std::string contents() {
        return cell("SELECT ifnull(group_concat(UserContext || Id || A || B, ' '), '') FROM T");
    }

    DataAccessObject m_dao{&m_adapter, layout(true, {"x", "y", "z"})};
    DataAccessObject m_updated{&m_adapter, layout(false, {"x", "y", "z"})};
};

}  // namespace

TEST_F(DataAccessObjectTableTest, DefaultRowsAreThoseOfTheUsersAskedFor) {
    struct {
        std::function<int(DataAccessObject&)> insert;
        const char* before;
        const char* after;
    } const rows[] = {
        {[](auto& dao) { return dao.insertDefaultRows(); }, "",
         "base7ax visitor7ax base8ay visitor8ay base9az visitor9az"},
        {[](auto& dao) { return dao.insertDefaultRows(true); }, "('base', '8', '', '')",
         "base8 base7ax visitor7ax visitor8ay base9az visitor9az"},
        {[](auto& dao) { return dao.insertDefaultRows(true) + dao.insertDefaultRows(true); }, "",
         "base7ax visitor7ax base8ay visitor8ay base9az visitor9az"},
        {[](auto& dao) { return dao.insertDefaultRows(std::string("base")); }, "",
         "base7ax base8ay base9az"},
        {[](auto& dao) { return dao.insertDefaultRows(std::string()); }, "",
         "visitor7ax visitor8ay visitor9az"},
    };
    for (const auto& row : rows) {
        fill(row.before);
        EXPECT_EQ(row.insert(m_dao), 0);
        EXPECT_EQ(contents(), row.after);
    }
    EXPECT_EQ(m_adapter.count("BEGIN"), m_adapter.count("END"));
    // A failed insert is in the log alone, and leaves none of them: the next request tries again.
    fill("");
    m_adapter.intercept = failing("INSERT", 2, SQLITE_FULL);
    EXPECT_EQ(m_dao.insertDefaultRows(), 0);
    EXPECT_EQ(contents(), "");
}

// Another process may have found the table empty, too.
TEST_F(DataAccessObjectTableTest, RowsOfAFasterProcessAreNotInsertedAgain) {
    m_adapter.intercept = [this](const std::string& statement) {
        if (statement.find("BEGIN IMMEDIATE") == 0) {
            fill("('base', '7', 'new', '')");
        }
        return 0;
    };
    DASUtils::makeTableWithoutRows(m_dao, m_adapter, "T");
    EXPECT_EQ(contents(), "base7new visitor7ax base8ay visitor8ay base9az visitor9az");
}

TEST_F(DataAccessObjectTableTest, AUserGoesBackToDefaultsByHisKindOfTable) {
    const std::string some = "('base', '8', 'old', 'old'), ('visitor', '8', 'old', 'old')";
    struct {
        DataAccessObject& dao;
        const char* context;
        std::string before;
        const char* after;
    } const rows[] = {
        {m_dao, "visitor", some, "base8oldold visitor7ax visitor8ay visitor9az"},
        {m_dao, "base", some, "visitor8oldold base7ax base8ay base9az"},
        {m_updated, "visitor", some, "base8oldold visitor8ax"},
        {m_updated, "x' OR '1'='1", some, "base8oldold visitor8oldold"},
    };
    for (const auto& row : rows) {
        fill(row.before);
        EXPECT_EQ(row.dao.initialiseMobilityUserData(row.context), 0);
        EXPECT_EQ(contents(), row.after) << row.context;
    }
}

// What could not be deleted was inserted a second time.
TEST_F(DataAccessObjectTableTest, NothingIsInsertedBesideRowsThatStay) {
    const std::string some = "('base', '7', 'b', ''), ('visitor', '7', 'v', '')";
    fill(some);
    m_adapter.intercept = [](const std::string& statement) {
        return statement.find("DELETE") == 0 ? SQLITE_BUSY : 0;
    };
    EXPECT_EQ(m_dao.initialiseMobilityUserData("visitor"), SQLITE_BUSY);
    // Rows that can't be asked for, until they would be inserted.
    waitForNobody(m_adapter);
    auto blocker = std::make_unique<Blocker>(database());
    m_adapter.intercept = [&blocker](const std::string& statement) {
        if (statement.find("INSERT") == 0) {
            blocker.reset();
        }
        return 0;
    };
    EXPECT_EQ(m_dao.insertDefaultRows(true), 0);
    blocker.reset();
    EXPECT_EQ(contents(), "base7b visitor7v");
}

// The guest got a part of the keys, or those of an earlier guest, and the copy counted as done.
TEST_F(DataAccessObjectTableTest, ACopyThatFailsLeavesTheVisitorsRows) {
    fill("('base', '7', 'b', ''), ('base', '8', 'c', ''), ('visitor', '7', 'v', '')");
    const struct {
        const char* statement;
        int nth;
        int result;
        const char* log;
    } rows[] = {{"BEGIN", 1, SQLITE_BUSY, "Failed to begin transaction"},
                {"DELETE", 1, 1, "Failed to delete visitor data, table = [T]"},
                {"SELECT * FROM T", 1, 1, "Failed to read 'base' data, table = [T]"},
                {"INSERT", 2, 1, "Cannot create vistor data row, table = [T]"},
                {"END", 1, SQLITE_BUSY, "Failed to end transaction"}};
    for (const auto& row : rows) {
        m_log.clear();
        m_adapter.intercept = failing(row.statement, row.nth, SQLITE_BUSY);
        EXPECT_EQ(m_dao.copyBaseDataToVisitor(), row.result) << row.statement;
        EXPECT_TRUE(m_log.has(2, row.log)) << row.statement;
        EXPECT_EQ(contents(), "base7b base8c visitor7v") << row.statement;
        EXPECT_TRUE(lockIsFree(m_adapter)) << row.statement;
    }
    m_adapter.intercept = nullptr;
    sql("ALTER TABLE T RENAME COLUMN UserContext TO Other");
    EXPECT_EQ(m_dao.copyBaseDataToVisitor(), 1) << "rows that can't be counted may be there";
    sql("DROP TABLE T");
    EXPECT_EQ(m_dao.copyBaseDataToVisitor(), 0) << "the first request makes it";
}

TEST_F(DataAccessObjectTableTest, TheVisitorGetsCopiesOfTheBaseRows) {
    struct {
        const char* before;
        std::string after;
        int failedRows;
    } const rows[] = {
        {"('visitor', '1', 'old', ''), ('base', '1', 'n', NULL), ('base', '2', 'm', '')",
         "base2m visitor1n visitor2m", 0},
        {"('base', '1', 'a'', 1); DELETE FROM T; --', ''), ('base', '2', 'm', '')",
         "base1a', 1); DELETE FROM T; -- base2m visitor2m", 1},
        {"('base', '1', 'x'''', 1); --', ''), ('base', '2', 'm', '')",
         "base1x'', 1); -- base2m visitor1x', 1); -- visitor2m", 0},
    };
    for (const auto& row : rows) {
        m_log.clear();
        fill(row.before);
        EXPECT_EQ(m_dao.copyBaseDataToVisitor(), 0);
        EXPECT_EQ(contents(), row.after);
        EXPECT_TRUE(m_log.has(5, "Copying base data to visitor for table [T]"));
        EXPECT_EQ(m_log.count("Cannot create vistor data row, table = [T]"), row.failedRows);
    }
    EXPECT_TRUE(lockIsFree(m_adapter));
}

TEST_F(DataAccessObjectTableTest, ContextsAreDeletedInBothForms) {
    const std::string all =
        "('base', '1', '', ''), ('visitor', '2', '', ''), ('it''s', '3', '', '')";
    struct {
        const char* context;
        const char* after;
    } const rows[] = {
        {"visitor", "base1 it's3"},
        {"'it''s'", "base1 visitor2"},
        {"x' OR '1'='1", "base1 visitor2 it's3"},
    };
    for (const auto& row : rows) {
        fill(all);
        EXPECT_EQ(m_dao.deleteContextData(row.context), 0);
        EXPECT_EQ(contents(), row.after) << row.context;
    }
    fill("");
    EXPECT_EQ(m_dao.deleteContextData("visitor"), 1) << "an empty table";
}

TEST_F(DataAccessObjectTableTest, ARowOfAFileUpdatesTheRowOfItsFirstTwoFields) {
    std::vector<std::string> names = {"UserContext", "Id", "A", "B"};
    std::vector<std::string> values = {"base", "7", "new", "it''s"};
    std::vector<std::string> crafted = {"base' OR '1'='1", "7", "x", "y"};
    fill("('base', '7', '', ''), ('visitor', '7', '', '')");
    EXPECT_EQ(m_dao.updateItemInTable("T", names, crafted), 1);
    EXPECT_TRUE(m_log.has(2, "update failed"));
    EXPECT_EQ(m_dao.updateItemInTable("T", names, values), 0);
    EXPECT_EQ(contents(), "base7newit's visitor7");
    values.pop_back();
    EXPECT_THROW((void)m_dao.updateItemInTable("T", names, values), std::out_of_range);
}
