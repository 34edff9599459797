#include "testkit/Sql.h"

#include <sqlite3.h>

#include <stdexcept>

namespace {

constexpr int PatienceInMilliseconds = 5000;

std::vector<std::string> rowOf(sqlite3_stmt* statement, const char* null) {
    std::vector<std::string> row;
    for (int i = 0; i < sqlite3_column_count(statement); ++i) {
        const auto* text = reinterpret_cast<const char*>(sqlite3_column_text(statement, i));
        const auto size = static_cast<std::size_t>(sqlite3_column_bytes(statement, i));
        row.push_back(text != nullptr ? std::string(text, size) : null);
    }
    return row;
}

}  // namespace

Sql::Sql(const std::string& file, const char* vfs) {
    sqlite3_open_v2(file.c_str(), &m_db, SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE, vfs);
    sqlite3_busy_timeout(m_db, PatienceInMilliseconds);
}

Sql::~Sql() {
    if (m_isOwner) {
        sqlite3_close(m_db);
    }
}

Sql::Rows Sql::rows(const std::string& statements, std::string* error, const char* null) const {
    Rows found;
    int code = SQLITE_OK;
    for (const char* rest = statements.c_str(); *rest != '\0' && code == SQLITE_OK;) {
        sqlite3_stmt* statement = nullptr;
        code = sqlite3_prepare_v2(m_db, rest, -1, &statement, &rest);
        while (statement != nullptr && (code = sqlite3_step(statement)) == SQLITE_ROW) {
            found.push_back(rowOf(statement, null));
        }
        code = code == SQLITE_DONE ? SQLITE_OK : code;
        if (error != nullptr) {
            *error = code != SQLITE_OK ? sqlite3_errmsg(m_db) : "";
        }
        sqlite3_finalize(statement);
    }
    return found;
}

std::vector<std::string> Sql::texts(const std::string& query) const {
    std::vector<std::string> found;
    for (auto& row : rows(query)) {
        found.push_back(std::move(row.front()));
    }
    return found;
}

std::string Sql::cell(const std::string& query) const {
    const auto found = rows(query, nullptr, "(null)");
    return found.empty() ? "(none)" : found.front().front();
}

std::string Sql::run(const std::string& statements) const {
    std::string error;
    (void)rows(statements, &error);
    return error;
}

void Sql::mustRun(const std::string& statements) const {
    if (const std::string error = run(statements); !error.empty()) {
        throw std::runtime_error(error + ": " + statements);
    }
}

bool Sql::copyFrom(const Sql& other) const {
    sqlite3_backup* const backup = sqlite3_backup_init(m_db, "main", other.m_db, "main");
    const bool isDone = sqlite3_backup_step(backup, -1) == SQLITE_DONE;
    return sqlite3_backup_finish(backup) == SQLITE_OK && isDone;
}
