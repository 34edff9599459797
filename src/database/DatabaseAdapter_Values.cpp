// Statements whose values are bound, not written into the SQL string.

#include <sqlite3.h>

#include <memory>

#include "Log.h"
#include "database/AdapterGuards.h"
#include "database/ChangeScope.h"
#include "database/DatabaseAdapter.h"

namespace {

/// Returns SQLITE_DONE if the whole statement ran, else the raw SQLite code of the failure.
int runWithValues(sqlite3* db, const std::string& sql, const std::vector<std::string>& values) {
    sqlite3_stmt* prepared = nullptr;
    int code = sqlite3_prepare_v2(db, sql.c_str(), -1, &prepared, nullptr);
    const std::unique_ptr<sqlite3_stmt, decltype(&sqlite3_finalize)> owner(prepared,
                                                                           sqlite3_finalize);
    int place = 0;
    for (const std::string& value : values) {
        if (code == SQLITE_OK) {
            code = sqlite3_bind_text64(prepared, ++place, value.data(), value.size(), SQLITE_STATIC,
                                       SQLITE_UTF8);
        }
    }
    if (code != SQLITE_OK) {
        return code;
    }
    do {
        code = sqlite3_step(prepared);
    } while (code == SQLITE_ROW);
    return code;
}

}  // namespace

int DatabaseAdapter::executeWithValues(const std::string& sql,
                                       const std::vector<std::string>& values) {
    if (m_type != SqliteAdapterType) {
        return 1;
    }
    DAS_LOG(5, "%s", sql.c_str());
    AdapterLock lock(*this);
    if (m_lastError != nullptr) {
        freeError();
    }
    m_tablesWithRows.clear();
    ChangeScope* const scope = ChangeScope::heard();
    if (scope != nullptr) {
        beginWatched(*scope);
    }
    sqlite3* const db = connection();
    const int code = db != nullptr ? runWithValues(db, sql, values) : SQLITE_MISUSE;
    if (code == SQLITE_DONE) {
        if (scope != nullptr) {
            endWatched(*scope, sql);
        }
        return SQLITE_OK;
    }
    m_lastError = sqlite3_mprintf("%s", errorText());
    logStatementError(sql);
    return code;
}
