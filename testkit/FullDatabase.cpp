#include "testkit/FullDatabase.h"

#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>

#include "testkit/LogCapture.h"
#include "testkit/Messages.h"
#include "testkit/Phone.h"
#include "testkit/Place.h"
#include "testkit/Schemas.h"
#include "testkit/Sql.h"

namespace FullDatabase {

namespace {

namespace fs = std::filesystem;
using xml::message;

constexpr int Contacts = 60;
constexpr int RowsOfUser = 40;

/// Settings for an older form of the database; used if its dump has no settings.
const char* const SettingsOfToday = "settings_of_today";

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

/// What a user's row holds in a column: a number where rows are identified by numbers, else some
/// text.
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

void fillTable(const Sql& db, const std::string& table) {
    const auto columns = db.texts("SELECT name FROM pragma_table_info('" + table + "')");
    for (const char* user : {"base", "visitor"}) {
        for (int row = 1; row <= RowsOfUser; ++row) {
            std::string values;
            for (const std::string& column : columns) {
                values += (values.empty() ? "" : ", ") + cellOf(column, user, row);
            }
            db.mustRun("INSERT OR REPLACE INTO " + table + " VALUES (" + values + ")");
        }
    }
}

}  // namespace

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
        (void)service.processRequest(read);  // creates the table
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
    if (::fork() == 0) {
        const LogCapture quiet(0);
        Phone phone;
        phone.start();
        fill(phone.service());
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

void makeTables(const Sql& db, const std::string& form) {
    const fs::path folder = DAS_DATABASES_DIR;
    const std::string text = readFile(folder / (form + ".sql"));
    if (text.find("GENERAL_CONFIG") == std::string::npos) {
        db.mustRun(readFile(folder / (std::string(SettingsOfToday) + ".sql")));
    }
    db.mustRun(text);
}

void makeForm(const fs::path& file, const std::string& form) {
    const Sql db(file);
    db.mustRun("PRAGMA synchronous=OFF; BEGIN;");
    makeTables(db, form);
    for (const std::string& table :
         db.texts("SELECT name FROM sqlite_master WHERE type = 'table' AND name NOT LIKE "
                  "'sqlite%'")) {
        if (db.cell("SELECT count(*) FROM " + table) == "0") {
            fillTable(db, table);
        }
    }
    db.mustRun("END;");
}

}  // namespace FullDatabase
