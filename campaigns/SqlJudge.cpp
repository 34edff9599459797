#include "SqlJudge.h"

#include <sqlite3.h>

#include <cstring>

namespace {

struct Seen {
    sqlite3* newest = nullptr;
    bool isWatching = false;
    std::set<SqlJudge::Act> acts;
    std::set<std::string> changed;
    std::vector<std::string> bad;
    long long texts = 0;
    int run = 0;  ///< statements that began to run since the last SQL string was passed
};
Seen seen;

/// Depending on the action code, the first or the second detail is the name of the accessed object.
bool isInSecondDetail(int action) {
    return action == SQLITE_FUNCTION || action == SQLITE_CREATE_INDEX ||
           action == SQLITE_DROP_INDEX;
}

int onPrepare(void*, int action, const char* first, const char* second, const char*, const char*) {
    if (seen.isWatching) {
        const char* const name = isInSecondDetail(action) ? second : first;
        seen.acts.emplace(action, name != nullptr ? name : "");
        if (action == SQLITE_DELETE && name != nullptr) {
            // A delete of all rows is not reported in any other way, because SQLite removes them in
            // one step.
            seen.changed.insert(name);
        }
    }
    return SQLITE_OK;
}

int onRun(unsigned, void*, void*, void* text) {
    // Statements inside a trigger are reported as comments.
    if (std::strncmp(static_cast<const char*>(text), "--", 2) != 0) {
        ++seen.run;
    }
    return 0;
}

void onChange(void*, int, const char*, const char* table, sqlite3_int64) {
    if (seen.isWatching) {
        seen.changed.insert(table);
    }
}

int onOpen(sqlite3* db, char**, const sqlite3_api_routines*) {
    seen.newest = db;
    sqlite3_set_authorizer(db, onPrepare, nullptr);
    sqlite3_trace_v2(db, SQLITE_TRACE_STMT, onRun, nullptr);
    sqlite3_update_hook(db, onChange, nullptr);
    return SQLITE_OK;
}

const char* afterQuoted(const char* at, char quote) {
    const char* const close = std::strchr(at + 1, quote);
    return close != nullptr ? close + 1 : nullptr;
}

/// Whether @p sql is one statement, by its characters alone, without asking SQLite.
bool isOneStatement(const char* sql) {
    bool hasEnded = false;
    for (const char* at = sql; at != nullptr && *at != '\0';) {
        const bool isBlank = std::strchr(" \t\r\n", *at) != nullptr;
        const bool isComment = std::strncmp(at, "--", 2) == 0 || std::strncmp(at, "/*", 2) == 0;
        if (isComment || (hasEnded && !isBlank)) {
            return false;
        }
        hasEnded = hasEnded || *at == ';';
        if (std::strchr("'\"`", *at) != nullptr) {
            at = afterQuoted(at, *at);
            if (at == nullptr) {
                return false;
            }
        } else {
            ++at;
        }
    }
    return true;
}

void look(const char* sql) {
    if (seen.isWatching) {
        ++seen.texts;
        seen.run = 0;
        if (sql == nullptr || !isOneStatement(sql)) {
            seen.bad.emplace_back(sql != nullptr ? sql : "(null)");
        }
    }
}

}  // namespace

// The linker redirects the service's calls to these functions.
extern "C" {
int __real_sqlite3_exec(sqlite3* db, const char* sql, int (*callback)(void*, int, char**, char**),
                        void* argument, char** error);
int __real_sqlite3_prepare(sqlite3* db, const char* sql, int length, sqlite3_stmt** statement,
                           const char** tail);

int __wrap_sqlite3_exec(sqlite3* db, const char* sql, int (*callback)(void*, int, char**, char**),
                        void* argument, char** error) {
    look(sql);
    const int code = __real_sqlite3_exec(db, sql, callback, argument, error);
    if (seen.isWatching && seen.run > 1) {
        seen.bad.push_back("ran " + std::to_string(seen.run) + ": " + sql);
    }
    return code;
}

int __wrap_sqlite3_prepare(sqlite3* db, const char* sql, int length, sqlite3_stmt** statement,
                           const char** tail) {
    look(sql);
    return __real_sqlite3_prepare(db, sql, length, statement, tail);
}
}

void SqlJudge::install() {
    sqlite3_auto_extension(reinterpret_cast<void (*)()>(onOpen));
}

sqlite3* SqlJudge::connection() {
    return seen.newest;
}

void SqlJudge::begin() {
    seen.acts.clear();
    seen.changed.clear();
    seen.bad.clear();
    seen.isWatching = true;
}

void SqlJudge::end() {
    seen.isWatching = false;
}

const std::set<SqlJudge::Act>& SqlJudge::acts() {
    return seen.acts;
}

const std::set<std::string>& SqlJudge::changedTables() {
    return seen.changed;
}

const std::vector<std::string>& SqlJudge::badTexts() {
    return seen.bad;
}

long long SqlJudge::texts() {
    return seen.texts;
}

std::string SqlJudge::nameOf(const Act& act) {
    return "action " + std::to_string(act.first) + " on '" + act.second + "'";
}
