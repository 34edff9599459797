#include "framework/DatabaseFile.h"

#include <sqlite3.h>

#include <cstdlib>
#include <memory>

namespace {

/// What a file name in a URI can't hold as it is.
std::string inUri(const std::string& path) {
    std::string text;
    for (const char character : path) {
        const char* const digits = "0123456789ABCDEF";
        const auto byte = static_cast<unsigned char>(character);
        const bool isPlain = character != '%' && character != '?' && character != '#';
        text += isPlain ? std::string(1, character)
                        : std::string("%") + digits[byte >> 4] + digits[byte & 0xf];
    }
    return text;
}

}  // namespace

DatabaseFile::~DatabaseFile() {
    sqlite3_close(m_database);
}

std::string DatabaseFile::pathOfService() {
    const char* const place = std::getenv("DB_PATH");
    return place == nullptr ? "phone.db" : std::string(place) + "/phone.db";
}

bool DatabaseFile::open(const std::string& path, bool isAlone) {
    const std::string uri = "file:" + inUri(path) + (isAlone ? "?immutable=1" : "?mode=ro");
    const int result =
        sqlite3_open_v2(uri.c_str(), &m_database, SQLITE_OPEN_READONLY | SQLITE_OPEN_URI, nullptr);
    if (result != SQLITE_OK) {
        m_error = sqlite3_errstr(result);
    } else {
        sqlite3_busy_timeout(m_database, 2000);
    }
    return result == SQLITE_OK;
}

bool DatabaseFile::query(const std::string& sql, Rows& rows) {
    sqlite3_stmt* prepared = nullptr;
    int result = sqlite3_prepare_v2(m_database, sql.c_str(), -1, &prepared, nullptr);
    const std::unique_ptr<sqlite3_stmt, int (*)(sqlite3_stmt*)> statement(prepared,
                                                                          sqlite3_finalize);
    while (result == SQLITE_OK && (result = sqlite3_step(prepared)) == SQLITE_ROW) {
        std::vector<std::string> row;
        for (int i = 0; i < sqlite3_column_count(prepared); ++i) {
            const auto* const text =
                reinterpret_cast<const char*>(sqlite3_column_text(prepared, i));
            row.emplace_back(text == nullptr ? "" : text);
        }
        rows.push_back(std::move(row));
        result = SQLITE_OK;
    }
    if (result != SQLITE_DONE) {
        m_error = sqlite3_errmsg(m_database);
    }
    return result == SQLITE_DONE;
}
