#include "FloorDatabase.h"

#include <sqlite3.h>

#include <cstring>

namespace Bench {

namespace {

const char* const answerStart = "<?xml version=\"1.0\" encoding=\"utf-8\"?><Schema name=\"";
const char* const reasonStart = "\"><ReasonForMessage>";
const char* const reasonEnd = "</ReasonForMessage>";
const char* const answerEnd = "</Schema>";
const char* const entryStart = "<Entry>";
const char* const entryEnd = "</Entry>";
constexpr std::size_t sizeWithoutBody = 200;

void beginAnswer(std::string& answer, const char* schema, const char* reason) {
    answer += answerStart;
    answer += schema;
    answer += reasonStart;
    answer += reason;
    answer += reasonEnd;
}

std::size_t sizeOfEntries(const Rows& rows, const std::vector<Tags>& tags, std::size_t firstCell) {
    std::size_t tagSize = std::strlen(entryStart) + std::strlen(entryEnd);
    for (const Tags& tag : tags) {
        tagSize += tag.start.size() + tag.end.size();
    }
    std::size_t size = rows.size() * tagSize;
    for (const auto& row : rows) {
        for (std::size_t i = 0; i < tags.size(); ++i) {
            size += row[firstCell + i].size();
        }
    }
    return size;
}

}  // namespace

FloorDatabase::FloorDatabase(const std::string& path) {
    check(sqlite3_open(path.c_str(), &m_db), SQLITE_OK, "sqlite3_open " + path);
    run("PRAGMA busy_timeout=5000;");
}

FloorDatabase::~FloorDatabase() {
    sqlite3_close(m_db);
}

void FloorDatabase::check(int code, int expected, const std::string& sql) {
    if (code != expected && m_failure.empty()) {
        m_failure = sql + ": " + sqlite3_errmsg(m_db);
    }
}

void FloorDatabase::run(const std::string& sql) {
    check(sqlite3_exec(m_db, sql.c_str(), nullptr, nullptr, nullptr), SQLITE_OK, sql);
}

void FloorDatabase::prepare(const std::string& sql) {
    sqlite3_stmt* statement = nullptr;
    check(sqlite3_prepare_v2(m_db, sql.c_str(), -1, &statement, nullptr), SQLITE_OK, sql);
    sqlite3_finalize(statement);
}

Rows FloorDatabase::rows(const std::string& sql) {
    Rows rows;
    sqlite3_stmt* statement = nullptr;
    check(sqlite3_prepare_v2(m_db, sql.c_str(), -1, &statement, nullptr), SQLITE_OK, sql);
    const int columns = sqlite3_column_count(statement);
    int code = sqlite3_step(statement);
    for (; code == SQLITE_ROW; code = sqlite3_step(statement)) {
        std::vector<std::string>& row = rows.emplace_back();
        row.reserve(static_cast<std::size_t>(columns));
        for (int i = 0; i < columns; ++i) {
            const auto* text = reinterpret_cast<const char*>(sqlite3_column_text(statement, i));
            row.emplace_back(text != nullptr ? text : "",
                             static_cast<std::size_t>(sqlite3_column_bytes(statement, i)));
            const std::string& cell = row.back();
            m_rowBytes += static_cast<long long>(
                sizeof cell + (cell.size() > std::string().capacity() ? cell.size() : 0));
        }
    }
    check(code, SQLITE_DONE, sql);
    sqlite3_finalize(statement);
    return rows;
}

std::string FloorDatabase::count(const std::string& sql) {
    std::string count = "0";
    if (m_leavesOutCounts) {
        return count;
    }
    sqlite3_stmt* statement = nullptr;
    if (sqlite3_prepare_v2(m_db, sql.c_str(), -1, &statement, nullptr) == SQLITE_OK &&
        sqlite3_step(statement) == SQLITE_ROW) {
        count = reinterpret_cast<const char*>(sqlite3_column_text(statement, 0));
    }
    sqlite3_finalize(statement);
    return count;
}

std::string FloorDatabase::lastNumber() const {
    return std::to_string(sqlite3_last_insert_rowid(m_db));
}

std::vector<Tags> tagsOf(const std::vector<std::string>& columns) {
    return {columns.begin(), columns.end()};
}

std::string plainAnswer(const char* schema, const char* reason) {
    std::string answer;
    answer.reserve(sizeWithoutBody);
    beginAnswer(answer, schema, reason);
    return answer += answerEnd;
}

std::string readAnswer(const char* schema, const Rows& rows, const std::vector<Tags>& tags,
                       std::size_t firstCell) {
    std::string answer;
    answer.reserve(sizeWithoutBody + sizeOfEntries(rows, tags, firstCell));
    beginAnswer(answer, schema, "read_response");
    for (const auto& row : rows) {
        answer += entryStart;
        for (std::size_t i = 0; i < tags.size(); ++i) {
            answer += tags[i].start;
            answer += row[firstCell + i];
            answer += tags[i].end;
        }
        answer += entryEnd;
    }
    return answer += answerEnd;
}

}  // namespace Bench
