// Each kept statement that the tests run is asked for its query plan, with parameters and with its
// values in the text: a parameter must not cost an index. The linker puts this in front of SQLite.

#include <gtest/gtest.h>
#include <sqlite3.h>

#include <set>
#include <string>

extern "C" {
int __real_sqlite3_step(sqlite3_stmt* statement);
int __wrap_sqlite3_step(sqlite3_stmt* statement);
}

namespace {

std::string planOf(sqlite3* db, const std::string& sql) {
    sqlite3_stmt* statement = nullptr;
    std::string plan;
    if (sqlite3_prepare_v2(db, ("EXPLAIN QUERY PLAN " + sql).c_str(), -1, &statement, nullptr) ==
        SQLITE_OK) {
        while (__real_sqlite3_step(statement) == SQLITE_ROW) {
            plan += reinterpret_cast<const char*>(sqlite3_column_text(statement, 3));
            plan += '\n';
        }
    }
    sqlite3_finalize(statement);
    return plan;
}

}  // namespace

int __wrap_sqlite3_step(sqlite3_stmt* statement) {
    static thread_local std::set<std::string> seen;
    if (statement != nullptr && sqlite3_bind_parameter_count(statement) > 0 &&
        sqlite3_stmt_busy(statement) == 0 && seen.insert(sqlite3_sql(statement)).second) {
        sqlite3* db = sqlite3_db_handle(statement);
        char* whole = sqlite3_expanded_sql(statement);
        EXPECT_EQ(planOf(db, sqlite3_sql(statement)), planOf(db, whole)) << whole;
        sqlite3_free(whole);
    }
    return __real_sqlite3_step(statement);
}
