#include "StatementRecord.h"

#include <sqlite3.h>

namespace {

using Lines = std::vector<std::string>;

sqlite3* newest = nullptr;
Lines* current = nullptr;  ///< receives errors; null outside of a recording
bool nextIsRecorded = false;

void onError(void*, int, const char* text) {
    if (current == nullptr) {
        return;
    }
    current->push_back(std::string("error ") + text);
}

int onRun(unsigned, void* lines, void* statement, void* text) {
    // With the values, because the service binds values that the floor writes into the SQL.
    auto* const prepared = static_cast<sqlite3_stmt*>(statement);
    char* const whole =
        sqlite3_bind_parameter_count(prepared) > 0 ? sqlite3_expanded_sql(prepared) : nullptr;
    std::string line = whole != nullptr ? whole : static_cast<const char*>(text);
    sqlite3_free(whole);
    line.erase(line.find_last_not_of(" ;") + 1);
    static_cast<Lines*>(lines)->push_back("run " + line);
    return 0;
}

int onPrepare(void* lines, int action, const char* name, const char* detail, const char*,
              const char*) {
    std::string line = "prepare " + std::to_string(action);
    for (const char* text : {name, detail}) {
        line += text != nullptr ? std::string(" ") + text : std::string();
    }
    static_cast<Lines*>(lines)->push_back(std::move(line));
    return SQLITE_OK;
}

void record(sqlite3* db, Lines* lines) {
    sqlite3_trace_v2(db, SQLITE_TRACE_STMT, onRun, lines);
    sqlite3_set_authorizer(db, onPrepare, lines);
}

int onOpen(sqlite3* db, char**, const sqlite3_api_routines*) {
    newest = db;
    if (nextIsRecorded) {
        record(db, current);
    }
    return SQLITE_OK;
}

void stop(sqlite3* db) {
    sqlite3_set_authorizer(db, nullptr, nullptr);
    sqlite3_trace_v2(db, 0, nullptr, nullptr);
    current = nullptr;
}

}  // namespace

void StatementRecord::install() {
    sqlite3_config(SQLITE_CONFIG_LOG, onError, nullptr);
    sqlite3_auto_extension(reinterpret_cast<void (*)()>(onOpen));
}

sqlite3* StatementRecord::lastOpened() {
    return newest;
}

std::vector<std::string> StatementRecord::of(sqlite3* db, const std::function<void()>& work) {
    Lines lines;
    current = &lines;
    record(db, &lines);
    work();
    stop(db);
    return lines;
}

std::vector<std::string> StatementRecord::ofNextConnection(const std::function<void()>& work) {
    Lines lines;
    current = &lines;
    nextIsRecorded = true;
    work();
    nextIsRecorded = false;
    stop(newest);
    return lines;
}

std::vector<std::string> StatementRecord::statementsIn(const std::vector<std::string>& record) {
    const std::string run = "run ";
    const std::string error = "error ";
    const std::string select = "prepare 21";
    const std::string column = "prepare 20 ";
    const std::string function = "prepare 31 ";
    const auto begins = [](const std::string& line, const std::string& start) {
        return line.rfind(start, 0) == 0;
    };
    Lines texts;
    bool isSelect = false;
    std::string preparedOnly;
    for (const std::string& line : record) {
        if (isSelect && begins(line, column)) {
            const auto end = line.find(' ', column.size());
            preparedOnly = "SELECT * FROM " + line.substr(column.size(), end - column.size()) + ";";
            continue;
        }
        const bool runs = begins(line, run);
        const bool ends = !runs && !begins(line, error) && !begins(line, function);
        if (ends && !preparedOnly.empty()) {
            texts.push_back(preparedOnly);
        }
        if (runs) {
            texts.push_back(line.substr(run.size()));
        } else if (begins(line, error)) {
            const auto start = line.find('"') + 1;
            texts.push_back(line.substr(start, line.rfind('"') - start));
        }
        if (!begins(line, function)) {
            preparedOnly.clear();
            isSelect = begins(line, select);
        }
    }
    return texts;
}
