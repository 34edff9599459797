// The file is opened by a URI, since only a URI can forbid all writing. If it were opened in the
// usual way, SQLite would roll a remaining journal back into the file that is to be examined.

#include "framework/DatabaseFile.h"

#include <sqlite3.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <memory>
#include <utility>

namespace {

/// Escapes the characters of a file name that a URI can't contain.
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
    struct stat status {};
    if (stat(path.c_str(), &status) == 0 && !S_ISREG(status.st_mode)) {
        m_error = "is no file";  // SQLite would wait for a writer if this were a pipe
        return false;
    }
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

bool DatabaseFile::openToRead(const std::string& path) {
    constexpr int PatienceInMilliseconds = 5000;
    const auto isThere = [&](const char* ending) {
        return access((path + ending).c_str(), F_OK) == 0;
    };
    Rows rows;
    if (!open(path, false)) {
        return false;
    }
    sqlite3_busy_timeout(m_database, PatienceInMilliseconds);
    if (query("SELECT count(*) FROM sqlite_master", rows)) {
        return true;
    }
    // A database in WAL mode can't be read without a second file next to it.
    const std::string error = m_error;
    if (sqlite3_errcode(m_database) == SQLITE_CANTOPEN && !isThere("-journal") &&
        !isThere("-wal")) {
        sqlite3_close(m_database);
        m_database = nullptr;
        rows.clear();
        if (open(path, true) && query("SELECT count(*) FROM sqlite_master", rows)) {
            return true;
        }
    }
    m_error = error;
    return false;
}

bool DatabaseFile::copyTo(const std::string& path) {
    sqlite3* target = nullptr;
    int result = sqlite3_open_v2(path.c_str(), &target, SQLITE_OPEN_READWRITE, nullptr);
    // All pages in one step: a copy in parts would start again at each commit of a host.
    sqlite3_backup* const backup =
        result == SQLITE_OK ? sqlite3_backup_init(target, "main", m_database, "main") : nullptr;
    if (backup != nullptr) {
        (void)sqlite3_backup_step(backup, -1);
        result = sqlite3_backup_finish(backup);
    } else {
        result = sqlite3_errcode(target);
    }
    if (result != SQLITE_OK) {
        m_error = sqlite3_errstr(result);
    }
    const int closed = sqlite3_close(target);
    return result == SQLITE_OK && closed == SQLITE_OK;
}

bool DatabaseFile::query(const std::string& sql, Rows& rows) {
    std::vector<Cells> found;
    const bool isDone = query(sql, found);
    for (Cells& cells : found) {
        std::vector<std::string> row;
        for (auto& cell : cells) {
            row.push_back(std::move(cell).value_or(""));
        }
        rows.push_back(std::move(row));
    }
    return isDone;
}

bool DatabaseFile::query(const std::string& sql, std::vector<Cells>& rows) {
    sqlite3_stmt* prepared = nullptr;
    int result = sqlite3_prepare_v2(m_database, sql.c_str(), -1, &prepared, nullptr);
    const std::unique_ptr<sqlite3_stmt, int (*)(sqlite3_stmt*)> statement(prepared,
                                                                          sqlite3_finalize);
    while (result == SQLITE_OK && (result = sqlite3_step(prepared)) == SQLITE_ROW) {
        Cells row;
        for (int i = 0; i < sqlite3_column_count(prepared); ++i) {
            const auto* const text =
                reinterpret_cast<const char*>(sqlite3_column_text(prepared, i));
            row.emplace_back();
            if (text != nullptr) {
                row.back().emplace(text,
                                   static_cast<std::size_t>(sqlite3_column_bytes(prepared, i)));
            }
        }
        rows.push_back(std::move(row));
        result = SQLITE_OK;
    }
    if (result != SQLITE_DONE) {
        m_error = sqlite3_errmsg(m_database);
    }
    return result == SQLITE_DONE;
}
