#include "FullDatabase.h"

#include <sqlite3.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <memory>
#include <stdexcept>

#include "Context.h"
#include "LogCapture.h"
#include "Schemas.h"
#include "service/DataAccessService.h"

namespace FullDatabase {

namespace {

namespace fs = std::filesystem;

constexpr int Contacts = 60;
constexpr int RowsOfUser = 40;

/// Settings that an older form has in front of its own tables, unless it brings them itself.
const char* const SettingsOfToday = "settings_of_today";

std::string readFile(const fs::path& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

std::vector<fs::path> filesOf(const fs::path& folder) {
    std::vector<fs::path> files;
    for (const auto& each : fs::directory_iterator(folder)) {
        if (each.is_regular_file()) {
            files.push_back(each.path());
        }
    }
    std::sort(files.begin(), files.end());
    return files;
}

std::string contact(int number) {
    const std::string n = std::to_string(number);
    return "<Entry><Surname>Surname " + n + "</Surname><Firstname>First " + n +
           "</Firstname><Office>+49 89 " + n + "</Office><Mobile>+49 171 " + n +
           "</Mobile><Company>O'Neil &amp; Sons</Company><Address>Street " + n +
           "</Address></Entry>";
}

std::string call(int number) {
    const std::string n = std::to_string(10 + number);
    return "<Entry><LogList><Item><Number>+49 89 " + n +
           "</Number><TimeDate>2014-03-07T09:15:" + n + "+01:00</TimeDate><Duration>" + n +
           "</Duration></Item></LogList></Entry>";
}

using Database = std::unique_ptr<sqlite3, decltype(&sqlite3_close)>;

Database open(const fs::path& file) {
    sqlite3* db = nullptr;
    sqlite3_open(file.c_str(), &db);
    return {db, sqlite3_close};
}

/// What a row of a user holds in a column: its number where rows are named, else some text.
std::string cellOf(const std::string& column, const std::string& user, int row) {
    if (column == "UserContext") {
        return "'" + user + "'";
    }
    const bool namesRows = column == "Id" || column == "CallGroup";
    const bool isKey = column == "UniqueID" || column == "UniqueId";
    if (namesRows || isKey) {
        return std::to_string(row + (isKey && user == "visitor" ? RowsOfUser : 0));
    }
    return "'" + column + std::to_string(row) + " O''Neil'";
}

void fillTable(sqlite3* db, const std::string& table) {
    const auto columns = texts(db, "SELECT name FROM pragma_table_info('" + table + "')");
    for (const char* user : {"base", "visitor"}) {
        for (int row = 1; row <= RowsOfUser; ++row) {
            std::string values;
            for (const std::string& column : columns) {
                values += (values.empty() ? "" : ", ") + cellOf(column, user, row);
            }
            execute(db, "INSERT OR REPLACE INTO " + table + " VALUES (" + values + ")");
        }
    }
}

}  // namespace

std::vector<std::string> texts(sqlite3* db, const std::string& query) {
    std::vector<std::string> found;
    const auto collect = [](void* out, int, char** cells, char**) {
        static_cast<std::vector<std::string>*>(out)->emplace_back(cells[0] != nullptr ? cells[0]
                                                                                      : "");
        return 0;
    };
    sqlite3_exec(db, query.c_str(), collect, &found, nullptr);
    return found;
}

void execute(sqlite3* db, const std::string& sql) {
    char* error = nullptr;
    if (sqlite3_exec(db, sql.c_str(), nullptr, nullptr, &error) != SQLITE_OK) {
        const std::string words = error != nullptr ? error : "no open database";
        sqlite3_free(error);
        throw std::runtime_error(words + ": " + sql);
    }
}

std::string message(const std::string& schema, const std::string& reason, const std::string& body) {
    return "<?xml version=\"1.0\" encoding=\"utf-8\"?><Schema name=\"" + schema +
           "\"><ReasonForMessage>" + reason + "</ReasonForMessage>" + body + "</Schema>";
}

std::vector<std::string> examples() {
    std::vector<std::string> messages;
    for (const fs::path& file : filesOf(fs::path(DAS_SOURCE_DIR) / "examples")) {
        std::string text = readFile(file);
        if (!text.empty() && text.back() == '\n') {
            text.pop_back();
        }
        messages.push_back(std::move(text));
    }
    return messages;
}

std::vector<std::string> reads() {
    std::vector<std::string> messages;
    for (const std::string& schema : allSchemas()) {
        messages.push_back(message(schema, "read_request"));
        messages.push_back(message(schema, "rowcount_request"));
    }
    return messages;
}

void fill(DataAccessService& service) {
    for (const std::string& read : reads()) {
        (void)service.processRequest(read);  // makes the table
    }
    std::string contacts;
    for (int number = 0; number < Contacts; ++number) {
        contacts += contact(number);
        const char* const category = number % 2 == 0 ? "CallLogMissedCalls" : "CallLogDialledCalls";
        (void)service.processRequest(message(category, "write_request", call(number % 40)));
    }
    (void)service.processRequest(message("PhoneBook", "write_request", contacts));
    for (const std::string& example : examples()) {
        (void)service.processRequest(example);
    }
}

void makeToday() {
    struct NoServices : Context {
        Executable* findService(const std::string&) override { return nullptr; }
    };
    if (::fork() == 0) {
        const LogCapture quiet(0);
        DataAccessService service;
        NoServices context;
        service.init(context);
        fill(service);
        std::_Exit(0);
    }
    ::wait(nullptr);
}

std::vector<std::string> forms() {
    std::vector<std::string> names;
    for (const fs::path& file : filesOf(DAS_DATABASES_DIR)) {
        names.push_back(file.stem());
    }
    return names;
}

void makeTables(sqlite3* db, const std::string& form) {
    const fs::path folder = DAS_DATABASES_DIR;
    const std::string text = readFile(folder / (form + ".sql"));
    if (text.find("GENERAL_CONFIG") == std::string::npos) {
        execute(db, readFile(folder / (std::string(SettingsOfToday) + ".sql")));
    }
    execute(db, text);
}

void makeForm(const fs::path& file, const std::string& form) {
    const Database db = open(file);
    execute(db.get(), "PRAGMA synchronous=OFF; BEGIN;");
    makeTables(db.get(), form);
    for (const std::string& table :
         texts(db.get(),
               "SELECT name FROM sqlite_master WHERE type = 'table' AND name NOT LIKE "
               "'sqlite%'")) {
        if (texts(db.get(), "SELECT count(*) FROM " + table) == std::vector<std::string>{"0"}) {
            fillTable(db.get(), table);
        }
    }
    execute(db.get(), "END;");
}

}  // namespace FullDatabase
