// Three starts over databases that no release made, each in a process of its own. What they hold of
// the telephone's owner must be there afterwards, but for what a step is there to change.

#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <fstream>
#include <iostream>
#include <regex>

#include "Campaign.h"
#include "FullDatabase.h"
#include "LogCapture.h"
#include "OddDatabase.h"
#include "PowerCutScenarios.h"
#include "QuietOutput.h"

namespace fs = std::filesystem;

namespace {

constexpr unsigned SecondsUntilHang = 120;
constexpr std::size_t AtOnce = 2;

/// What steps are there to change: cells of columns that begin so, in the rows of the table "t" for
/// which the condition held before the first start; "%" is the last character of the column.
const struct {
    std::string table;
    std::string columns;
    std::string condition;
    const char* reason;
} MayChange[] = {
    {"", "", "UserContext IS 'visitor'", "a visitor's rows go with the visitor"},
    {"sqlite_master", "", "type <> 'view'", "tables get the columns of today"},
    {"LINE_KEY_SETTINGS", "LineSipPassword", "1", "is encrypted"},
    {"DSS_KEY_SETTINGS", "DssSipPassword", "1", "is encrypted"},
    {"STIMULUS_KEY_SETTINGS", "SendUrlPasswd", "1", "is encrypted"},
    {"FILEDOWNLOAD_SETTINGS", "FtpPassword", "1", "is encrypted"},
    {"FILEDOWNLOAD_SETTINGS", "", "EXISTS (SELECT 1 FROM FILEDOWNLOAD_SETTINGS_ENC)",
     "the newer table has settings of its own"},
    {"FIXED_KEYS", "", "Id IN (SELECT Id FROM FEATURE_KEYS)", "the programmable key replaces it"},
    {"FIXED_KEYS", "Function", "Function = '0'", "takes the function of the hardware"},
    {"FEATURE_KEYS", "Function", "Function = '0'",
     "takes the function of the hardware if it moves"},
    {"START_APPLICATION_FIXED_KEYS", "", "Id IN (SELECT Id FROM START_APPLICATION)",
     "the programmable key replaces it"},
    {"FEATURE_KEYS", "", "coalesce(Function, '') IN ('', '0') AND Id IN ('30', '31', '38', '39')",
     "goes if there is a fixed key of that id"},
    {"START_APPLICATION", "", "ApplicationName IS NULL AND Id IN ('30', '31', '38', '39')",
     "goes if there is a fixed key of that id"},
    {"FORWARDING_KEY_DESTINATIONS", "Id", "CAST(Id AS INT) > 617", "is renumbered"},
    {"PHONE_BOOK", "UniqueID", "1", "one that is doubled or no number gets a new one"},
    {"CALL_LOG", "UniqueId", "1", "one that is doubled or no number gets a new one"},
    {"CALL_LOG", "", "coalesce(Number%, '') = ''",
     "a call without a number goes if its row is split"},
    {"CALL_LOG", "",
     "'%' BETWEEN '0' AND '9' AND 'Number%' NOT IN (SELECT name FROM "
     "pragma_table_info('CALL_LOG'))",
     "the same"},
    {"CONVERSATIONS", "", "1", "goes where contacts or calls change"},
    {"BLUETOOTH_TRUSTED", "UserContext", "UserContext = ''", "becomes the owner's"},
    {"BLUETOOTH_TRUSTED", "",
     "EXISTS (SELECT 1 FROM BLUETOOTH_TRUSTED o WHERE o.Id IS t.Id AND o.rowid <> t.rowid)",
     "of a doubled device one row stays"},
    {"SRTP_ENCRYPTION_SETTINGS", "Rank", "1", "methods get in between"},
    {"DISTINCTIVE_RINGING", "", "1", "goes with the protocol"},
    {"GENERAL_CONFIG", "",
     "EXISTS (SELECT 1 FROM GENERAL_CONFIG o WHERE o.Schema IS t.Schema AND o.Name IS t.Name AND "
     "o.rowid <> t.rowid)",
     "of a doubled setting one row stays"},
    {"GENERAL_CONFIG", "",
     "UserContext = 'other' AND Schema IN ('TransportSettings', 'AcmsSettings')",
     "settings of the telephone have no user"},
    {"GENERAL_CONFIG", "UserContext", "1", "settings move between telephone and user"},
    {"GENERAL_CONFIG", "Value", "Name = 'EmergencyNumber'", "is cut at a character that is none"},
};

/// Tables from which rows move, and where to.
const std::map<std::string, std::string> Moves = {
    {"FEATURE_KEYS", "FIXED_KEYS"},
    {"START_APPLICATION", "START_APPLICATION_FIXED_KEYS"},
    {"FILEDOWNLOAD_SETTINGS", "FILEDOWNLOAD_SETTINGS_ENC"},
};

/// Tables that a step brings into the columns of today.
const char* const Rebuilt[] = {
    "PHONE_BOOK",        "CALL_LOG",          "CallGroup",     "STIMULUS_KEY_SETTINGS",
    "DSS_KEY_SETTINGS",  "BCA_SETTINGS",      "FEATURE_KEYS",  "FIXED_KEYS",
    "LINE_KEY_SETTINGS", "BLUETOOTH_TRUSTED", "GENERAL_CONFIG"};

using Tables = std::map<std::string, OddTable>;

/// A condition for a column and one parameter. Calls of a row get other places, or other rows.
std::string isThere(const std::string& table, const std::string& column) {
    if (table != "CALL_LOG" || column.find_last_of("0123456789") != column.size() - 1) {
        return "CAST(" + column + " AS TEXT) IS ?";
    }
    std::string all;
    for (char place = '0'; place <= '9'; ++place) {
        all += (all.empty() ? "" : ", ") + column.substr(0, column.size() - 1) + place;
    }
    return "? IN (" + all + ")";
}

/// The table before the starts without the cells that steps may change, which are NULL.
OddTable whatMustStay(const OddDatabase& before, const std::string& table, const LogCapture& log) {
    std::string cells;
    for (const std::string& column : before.select("SELECT * FROM " + table).columns) {
        // A column that is not of today goes, with its name in the log.
        std::string mayChange = log.has(2, "column " + column + " of " + table) ? "1" : "0";
        for (const auto& may : MayChange) {
            const std::string condition = std::regex_replace(may.condition, std::regex("%"),
                                                             column.substr(column.size() - 1));
            const bool isMeant =
                (may.table.empty() || may.table == table) && column.find(may.columns) == 0;
            if (isMeant &&
                !before.select("SELECT " + condition + " FROM " + table + " t").columns.empty()) {
                mayChange += " OR coalesce(" + condition + ", 0)";
            }
        }
        cells += (cells.empty() ? "" : ", ");
        cells += "CASE WHEN NOT (" + mayChange + ") THEN " + column + " END AS " + column;
    }
    return before.select("SELECT " + cells + " FROM " + table + " t");
}

/// One database, and all that is found with it.
class Case {
public:
    Case(const PowerCutPlace& place, const Tables& today, std::seed_seq& seeds)
        : m_place(place), m_today(today), m_random(seeds) {}

    void run() {
        prepare();
        const LogCapture failures(2);
        PowerCutSession session(m_place);
        session.start();
        session.start();
        const Tables second = sortedTables();
        const LogCapture all(5);
        session.start();
        check(!all.has("is kept as"), "the third start makes a copy");
        const Tables third = sortedTables();
        for (const auto& [name, table] : third) {
            const auto before = second.find(name);
            check(before != second.end() && before->second.columns == table.columns &&
                      before->second.rows == table.rows,
                  "the third start changes " + name);
        }
        check(!failures.has("ended early"), "an upgrade ended early");
        for (const char* table : Rebuilt) {
            check(third.count(table) == 0 || third.at(table).columns == m_today.at(table).columns,
                  std::string(table) + " does not have the columns of today");
        }
        compare(failures);
        const auto write = FullDatabase::message("AudioSettings", "write_request", "<Odd>1</Odd>");
        check(session.answers(write, "write_response"), "no setting can be stored");
    }

    std::string story;
    std::vector<std::string> found;

private:
    void check(bool holds, const std::string& what) {
        if (!holds) {
            found.push_back(what);
        }
    }

    void prepare() {
        m_place.make();
        m_place.enter();
        if (m_random() % 8 == 0) {
            fs::remove_all(m_place.onDevice("/Aurel_Deploy"));
        } else {
            fs::copy(DAS_DEPLOY_DIR, m_place.onDevice("/Aurel_Deploy"));
        }
        story = OddDatabase(m_before).make(m_today.at("sqlite_master"), m_random);
        fs::copy(m_before, m_place.database());
        std::ofstream(m_place.onDevice("/.QuilldeskRootFileSystemImageVersion.prev.txt"))
            << "V1 R2.3.4 " << (story.find("other_protocol") == 0 ? "SIP" : "QFA") << "\n";
    }

    Tables sortedTables() const {
        Tables tables = OddDatabase(m_place.database()).tables();
        for (auto& [name, table] : tables) {
            std::sort(table.rows.begin(), table.rows.end());
        }
        return tables;
    }

    void compare(const LogCapture& log) {
        const OddDatabase after(m_place.database());
        if (has(after, "GENERAL_CONFIG", "Schema = 'QfaBaseSettings'")) {
            check(has(after, "GENERAL_CONFIG", "Value = '+49 89 ''722'' 0'"), "the number is lost");
            return;  // the change of protocol keeps nothing else
        }
        const OddDatabase before(m_before);
        for (const auto& [name, table] : before.tables()) {
            const OddTable expected = whatMustStay(before, name, log);
            for (const auto& row : expected.rows) {
                compareRow(after, name, expected.columns, row);
            }
        }
    }

    /// The cells of a row are there, and together, but for those of calls.
    void compareRow(const OddDatabase& after, const std::string& name,
                    const std::vector<std::string>& columns, const OddTable::Row& row) {
        const bool mayPart = name == "CALL_LOG";
        std::string together = mayPart ? "0" : "1";
        OddTable::Row cells;
        for (std::size_t i = 0; i < row.size(); ++i) {
            together += row[i].has_value() ? " AND " + isThere(name, columns[i]) : "";
            cells.insert(cells.end(), row[i].has_value() ? 1 : 0, row[i]);
        }
        if (cells.empty() || has(after, name, together, cells)) {
            return;
        }
        std::string lost;
        for (std::size_t i = 0; i < row.size(); ++i) {
            if (row[i].has_value() && !has(after, name, isThere(name, columns[i]), {row[i]})) {
                lost += " " + columns[i] + " '" + row[i]->substr(0, 20) + "'";
            }
        }
        check(lost.empty() && mayPart, name + (lost.empty() ? " has rows torn apart" : lost));
    }

    static bool has(const OddDatabase& database, const std::string& table,
                    const std::string& condition, const OddTable::Row& values = {}) {
        const auto isIn = [&](const std::string& name) {
            return !database.select("SELECT 1 FROM " + name + " WHERE " + condition, values)
                        .rows.empty();
        };
        const auto moved = Moves.find(table);
        return isIn(table) || (moved != Moves.end() && isIn(moved->second));
    }

    const PowerCutPlace& m_place;
    const Tables& m_today;
    std::mt19937 m_random;
    const fs::path m_before = m_place.folder() / "before.db";
};

[[noreturn]] void runCase(const PowerCutPlace& place, const Tables& today, std::seed_seq seeds) {
    ::alarm(SecondsUntilHang);
    Case odd(place, today, seeds);
    try {
        const QuietOutput quiet;
        odd.run();
    } catch (const std::exception& error) {
        odd.found.push_back(std::string("an exception: ") + error.what());
    }
    std::string text = odd.found.empty()
                           ? ""
                           : "case " + place.folder().filename().string() + ": " + odd.story + "\n";
    for (const std::string& line : odd.found) {
        text += "    " + line.substr(0, 150) + "\n";
    }
    std::cerr << text << std::flush;
    std::_Exit(odd.found.empty() ? 0 : 1);
}

/// From a service in a process of its own: it has statics, which each later process is to find as
/// they are at first.
Tables tablesOfToday(const PowerCutPlace& place) {
    place.make();
    if (::fork() == 0) {
        place.enter();
        const QuietOutput quiet;
        const LogCapture log(0);
        PowerCutSession session(place);
        session.start();
        for (const std::string& read : FullDatabase::reads()) {
            (void)session.service().processRequest(read);
        }
        std::_Exit(0);
    }
    ::wait(nullptr);
    return OddDatabase(place.database()).tables();
}

}  // namespace

int main(int argc, char** argv) {
    Campaign campaign("odd", "databases", 20000, argc, argv);
    const bool hasMemory = ::access("/dev/shm", W_OK) == 0;
    const fs::path folder = (hasMemory ? fs::path("/dev/shm") : fs::temp_directory_path()) /
                            ("das-odd-" + std::to_string(::getpid()));
    const Tables today = tablesOfToday(PowerCutPlace(folder / "today"));
    const char* const only = std::getenv("DAS_ODD_CASE");
    std::map<pid_t, std::string> running;
    const auto waitForOne = [&] {
        int status = 0;
        const auto ended = running.find(::wait(&status));
        const std::string signal = WIFSIGNALED(status) ? ::strsignal(WTERMSIG(status)) : "";
        campaign.check(status == 0, signal + "DAS_ODD_CASE=" + ended->second + " tries it alone");
        fs::remove_all(only == nullptr ? folder / ended->second : fs::path());
        running.erase(ended);
    };
    const long first = only != nullptr ? std::atol(only) : 0;
    for (long i = first; i < (only != nullptr ? first + 1 : campaign.rounds()); ++i) {
        if (running.size() >= AtOnce) {
            waitForOne();
        }
        const PowerCutPlace place(folder / std::to_string(i));
        const pid_t process = ::fork();
        if (process == 0) {
            runCase(place, today, {static_cast<long>(campaign.seed()), i});
        }
        running.emplace(process, std::to_string(i));
    }
    while (!running.empty()) {
        waitForOne();
    }
    fs::remove_all(only == nullptr ? folder : fs::path());
    return campaign.end();
}
