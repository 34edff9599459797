// Three starts with databases that no release created, each start in a process of its own. All data
// of the telephone's owner must still exist afterwards, except what a step is meant to change.

#include <sqlite3.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cctype>
#include <cstdlib>
#include <exception>
#include <fstream>
#include <iostream>
#include <iterator>
#include <map>

#include "Campaign.h"
#include "OddDatabase.h"
#include "PowerCutScenarios.h"
#include "testkit/FullDatabase.h"
#include "testkit/LogCapture.h"
#include "testkit/Messages.h"
#include "testkit/QuietOutput.h"

namespace fs = std::filesystem;

namespace {

using xml::message;
using Names = std::vector<std::string>;

constexpr unsigned SecondsUntilHang = 120;
constexpr std::size_t AtOnce = 2;
const char* const OneCase = "DAS_ODD_CASE";

/// The condition that the table had no such column.
std::string lacks(const std::string& column) {
    return "NOT EXISTS (SELECT 1 FROM pragma_table_info('#', 'old') WHERE name = '" + column + "')";
}

const std::string IsFixed = "t.Id IN ('30', '31', '38', '39')";
const std::string DoubledId =
    IsFixed + " AND EXISTS (SELECT 1 FROM old.# o WHERE o.Id IS t.Id AND o.rowid <> t.rowid";
const std::string DoubledFixedKey =
    DoubledId + " AND coalesce(o.UserContext, 'base') = coalesce(t.UserContext, 'base'))";
const std::string DoubledBeforeUsers = DoubledId + ") AND " + lacks("UserContext");

const char* const AlikeContact = "EXISTS (SELECT 1 FROM old.# o WHERE o.rowid <> t.rowid@)";

/// What steps are meant to change: cells of columns whose name begins with the first string, in the
/// rows "t" that met the condition in the database "old". There "%" is the column's last character,
/// "#" the table, and "@" means that the repair of contacts treats rows "o" and "t" as equal.
const struct {
    std::string table;
    std::string columns;
    std::string condition;
    const char* reason;
} MayChange[] = {
    {"", "", "t.UserContext = 'visitor'", "a visitor's rows go with the visitor"},
    {"sqlite_master", "", "t.type <> 'view'", "tables get the columns of today"},
    {"LINE_KEY_SETTINGS", "LineSipPassword", "1", "is encrypted"},
    {"DSS_KEY_SETTINGS", "DssSipPassword", "1", "is encrypted"},
    {"STIMULUS_KEY_SETTINGS", "SendUrlPasswd", "1", "is encrypted"},
    {"FILEDOWNLOAD_SETTINGS", "FtpPassword", "1", "is encrypted"},
    {"FILEDOWNLOAD_SETTINGS", "", "EXISTS (SELECT 1 FROM old.FILEDOWNLOAD_SETTINGS_ENC)",
     "the newer table has settings of its own"},
    {"FILEDOWNLOAD_SETTINGS", "",
     "EXISTS (SELECT 1 FROM old.FILEDOWNLOAD_SETTINGS o WHERE CAST(coalesce(o.FileType, '') AS "
     "TEXT) = CAST(coalesce(t.FileType, '') AS TEXT) AND o.rowid > t.rowid)",
     "of a type the last row stays"},
    {"FIXED_KEYS", "", "t.Id IN (SELECT Id FROM old.FEATURE_KEYS)", "the other key replaces it"},
    {"FIXED_KEYS", "Function", "t.Function = '0'", "takes that of the hardware"},
    {"FEATURE_KEYS", "Function", "t.Function = '0'", "takes that of the hardware where it moves"},
    {"FEATURE_KEYS", "", "coalesce(t.Function, '') IN ('', '0') AND " + IsFixed,
     "a fixed key of that id wins"},
    {"FEATURE_KEYS", "", IsFixed + " AND " + lacks("Function"),
     "so does one without a column for the function"},
    {"START_APPLICATION", "", "t.ApplicationName IS NULL AND " + IsFixed, "as of feature keys"},
    {"FEATURE_KEYS", "", DoubledFixedKey, "one of them counts where it moves"},
    {"START_APPLICATION", "", DoubledFixedKey, "one of them counts where it moves"},
    {"FEATURE_KEYS", "", DoubledBeforeUsers, "the same before there were users"},
    {"START_APPLICATION", "", DoubledBeforeUsers, "the same before there were users"},
    {"START_APPLICATION_FIXED_KEYS", "", "t.Id IN (SELECT Id FROM old.START_APPLICATION)",
     "the other key replaces it"},
    {"FORWARDING_KEY_DESTINATIONS", "Id", "CAST(t.Id AS INT) > 617", "is renumbered"},
    {"FORWARDING_KEY_DESTINATIONS", "",
     "CAST(t.Id AS INT) > 617 AND EXISTS (SELECT 1 FROM old.FORWARDING_KEY_DESTINATIONS o WHERE "
     "o.Id IS t.Id AND o.rowid <> t.rowid)",
     "of a renumbered lamp the last row counts for all users"},
    {"PHONE_BOOK", "UniqueID", "1", "one that is doubled or no number gets a new one"},
    {"PHONE_BOOK", "", AlikeContact, "of contacts that are alike the newest stays"},
    {"PHONE_BOOK_OLD", "", AlikeContact, "the same"},
    {"PHONE_BOOK_OLD", "UniqueID", "1", "one of the book's gets a new one"},
    {"CALL_LOG", "UniqueId", "1", "one that is doubled or no number gets a new one"},
    {"DIAL_PLAN_ENTRIES", "Id", "1", "one that is doubled or no number gets a new one"},
    {"CALL_LOG", "", "coalesce(t.Number%, '') = ''", "a call without a number leaves a mixed row"},
    {"CALL_LOG", "", "'%' BETWEEN '0' AND '9' AND " + lacks("Number%"),
     "so does one without a column for it"},
    {"CONVERSATIONS", "", "1", "goes where contacts or calls change"},
    {"BLUETOOTH_TRUSTED", "UserContext", "t.UserContext = ''", "becomes the owner's"},
    {"BLUETOOTH_TRUSTED", "",
     "EXISTS (SELECT 1 FROM old.BLUETOOTH_TRUSTED o WHERE o.Id IS t.Id AND o.rowid <> t.rowid)",
     "of a doubled device one row stays"},
    {"BLUETOOTH_TRUSTED", "", lacks("Id"), "devices without an address are one"},
    {"FILEDOWNLOAD_SETTINGS_ENC", "",
     "coalesce(t.ServerAddress, '') = '' AND EXISTS (SELECT 1 FROM old.FILEDOWNLOAD_SETTINGS)",
     "default rows give way to the older table"},
    {"SRTP_ENCRYPTION_SETTINGS", "Rank", "1", "methods get in between"},
    {"SRTP_ENCRYPTION_SETTINGS", "",
     "EXISTS (SELECT 1 FROM old.SRTP_ENCRYPTION_SETTINGS o WHERE CAST(coalesce(o.Method, '') AS "
     "TEXT) = CAST(coalesce(t.Method, '') AS TEXT) AND o.rowid > t.rowid)",
     "of a doubled method the last row stays"},
    {"SRTP_ENCRYPTION_SETTINGS", "", lacks("Method"), "methods without a name are one"},
    {"DISTINCTIVE_RINGING", "", "1", "goes with the protocol"},
    {"GENERAL_CONFIG", "",
     "EXISTS (SELECT 1 FROM old.GENERAL_CONFIG o WHERE o.Schema IS t.Schema AND o.Name IS t.Name "
     "AND o.rowid <> t.rowid AND (o.UserContext IS NOT NULL OR t.UserContext IS NULL OR NOT EXISTS "
     "(SELECT 1 FROM old.GENERAL_CONFIG WHERE Name = 'MobilityCurrentUser')))",
     "of a doubled setting one row stays, but none without a context"},
    {"GENERAL_CONFIG", "",
     "EXISTS (SELECT 1 FROM old.GENERAL_CONFIG o WHERE o.Schema IS t.Schema AND o.Name IS t.Name "
     "AND o.rowid <> t.rowid) AND " +
         lacks("UserContext"),
     "the same before there were contexts"},
    {"GENERAL_CONFIG", "",
     "t.UserContext = 'other' AND t.Schema IN ('TransportSettings', 'AcmsSettings')",
     "settings of the telephone have no user"},
    {"GENERAL_CONFIG", "UserContext", "1", "settings move between telephone and user"},
    {"GENERAL_CONFIG", "Value", "t.Name = 'EmergencyNumber'",
     "is cut at a character that is not valid"},
};

/// The columns that the repair of contacts compares.
const std::string OfContact[] = {"Surname", "Firstname", "Office", "Office2",
                                 "Mobile",  "Private",   "Picture"};

/// The tables to which rows of a table may move.
const std::map<std::string, std::string> Moves = {
    {"FEATURE_KEYS", "FIXED_KEYS"},
    {"START_APPLICATION", "START_APPLICATION_FIXED_KEYS"},
    {"FILEDOWNLOAD_SETTINGS", "FILEDOWNLOAD_SETTINGS_ENC"},
    {"PHONE_BOOK_OLD", "PHONE_BOOK"},
};

/// Tables that a step rebuilds with the columns of today.
const char* const Rebuilt[] = {
    "PHONE_BOOK",        "CALL_LOG",          "CallGroup",      "STIMULUS_KEY_SETTINGS",
    "DSS_KEY_SETTINGS",  "BCA_SETTINGS",      "FEATURE_KEYS",   "FIXED_KEYS",
    "LINE_KEY_SETTINGS", "BLUETOOTH_TRUSTED", "GENERAL_CONFIG", "CONVERSATIONS",
    "DIAL_PLAN_ENTRIES"};

/// One database, and everything found in its test.
class Case {
public:
    Case(const PhonePlace& place, const PhonePlace& today, std::seed_seq& seeds)
        : m_place(place), m_today(today.database()), m_random(seeds) {}

    void run() {
        prepare();
        PowerCutSession session(m_place);
        session.start();
        (void)session.answers(message("FileDownloadSettings", "read_request"), {});
        session.start();
        m_db = Sql(m_place.database());
        compare();
        const LogCapture all(m_isAlone ? 6 : 5);
        session.start();
        write(m_log, "log-of-two-starts.txt");
        write(all, "log-of-third-start.txt");
        check(!all.has("is kept as"), "the third start changes something");
        check(!all.has("ended early"), "the upgrade ends early");
        check(session.answers(message("AudioSettings", "write_request", "<Odd>1</Odd>"),
                              "write_response"),
              "no setting can be stored");
    }

    std::string story;
    Names found;

private:
    void check(bool holds, const std::string& what) {
        if (!holds) {
            found.push_back(what);
        }
    }
    Names ask(const std::string& query) const { return m_db.texts(query); }
    std::string old() const { return m_place.folder() / "old.db"; }

    /// Files for a case that is tried alone.
    void write(const LogCapture& log, const std::string& name) const {
        if (m_isAlone) {
            std::ofstream file(m_place.folder() / name);
            for (const Log::Entry& entry : log.entries()) {
                file << entry.level << " " << entry.message << "\n";
            }
        }
    }

    void prepare() {
        m_place.make();
        m_place.enter();
        fs::remove_all(m_place.onDevice("/Aurel_Deploy"));
        if (m_random() % 8 > 0) {
            fs::copy(DAS_DEPLOY_DIR, m_place.onDevice("/Aurel_Deploy"));
        }
        const Names today = m_today.texts("SELECT sql FROM sqlite_master ORDER BY name");
        story = makeOddDatabase(Sql(old()), today, m_random);
        fs::copy(old(), m_place.database());
        std::ofstream(m_place.onDevice("/.QuilldeskRootFileSystemImageVersion.prev.txt"))
            << "V1 R2.3.4 " << (story.find("other_protocol") == 0 ? "SIP" : "QFA") << "\n";
    }

    /// Compares the database with its state before the starts, which is attached as "old".
    void compare() {
        m_db.mustRun("ATTACH '" + old() + "' AS old");
        for (const std::string table : Rebuilt) {
            const Names now = columnsOf(m_db, table);
            check(now.empty() || now == columnsOf(m_today, table),
                  table + " does not have the columns of today");
        }
        if (!ask("SELECT 1 FROM GENERAL_CONFIG WHERE Schema = 'QfaBaseSettings'").empty()) {
            check(!ask("SELECT 1 FROM GENERAL_CONFIG WHERE Value = '+49 89 ''722'' 0'").empty(),
                  "the number is lost");
            return;  // the change of protocol keeps no other rows
        }
        for (const std::string& table :
             ask("SELECT name FROM old.sqlite_master WHERE type = 'table' AND name NOT LIKE "
                 "'sqlite%' UNION SELECT 'sqlite_master'")) {
            compareTable(table, columnsOf(m_db, table, "old"));
        }
    }

    void compareTable(const std::string& table, const Names& columns) {
        if (keeps(table, columns)) {
            return;
        }
        std::string lost;
        for (const std::string& column : columns) {
            lost += keeps(table, {column}) ? "" : " " + column;
        }
        check(table == "CALL_LOG" && lost.empty(),  // calls may move to a row for each number
              table + " loses" + (lost.empty() ? " rows" : lost));
    }

    bool isValid(const std::string& sql) const {
        sqlite3_stmt* statement = nullptr;
        const int code = sqlite3_prepare_v2(m_db.get(), sql.c_str(), -1, &statement, nullptr);
        sqlite3_finalize(statement);
        return code == SQLITE_OK;
    }

    /// Whether the cells @p columns of each old row, except those that may change, are in one row.
    bool keeps(const std::string& table, const Names& columns) const {
        const auto moved = Moves.find(table);
        Names places = {table};
        if (moved != Moves.end()) {
            places.push_back(moved->second);
        }
        Names mayChange;
        std::transform(columns.begin(), columns.end(), std::back_inserter(mayChange),
                       [&](const std::string& column) { return mayChangeIf(table, column); });
        std::string kept = "(" + join(mayChange, ") AND (") + ")";
        for (const std::string& place : places) {
            const Names now = columnsOf(m_db, place);
            Names same;
            for (std::size_t i = 0; i < columns.size(); ++i) {
                same.push_back(mayChange[i] + " OR " + isIn(now, table, columns[i]));
            }
            if (!now.empty()) {
                kept += " OR EXISTS (SELECT 1 FROM main." + place + " n WHERE (" +
                        join(same, ") AND (") + "))";
            }
        }
        const std::string query = "SELECT 1 FROM old." + table + " t WHERE NOT (" + kept + ")";
        return isValid(query) && ask(query).empty();
    }

    /// The condition that an old cell is in one of the columns @p now of a row.
    static std::string isIn(const Names& now, const std::string& table, const std::string& column) {
        std::string same = "NULL";
        for (const std::string& each : now) {
            const bool isOtherCall =
                table == "CALL_LOG" && std::isdigit(column.back()) != 0 &&
                std::isdigit(each.back()) != 0 &&
                each.substr(0, each.size() - 1) == column.substr(0, column.size() - 1);
            same += each == column || isOtherCall ? ", CAST(n." + each + " AS TEXT)" : "";
        }
        const std::string equal = "coalesce(CAST(t." + column + " AS TEXT) IN (" + same + "), 0)";
        // A column of integers rounds a number beyond 64 bits.
        const bool isSame = std::find(now.begin(), now.end(), column) != now.end();
        return isSame ? equal + " OR coalesce(typeof(n." + column + ") = 'real' AND n." + column +
                            " = CAST(t." + column + " AS NUMERIC), 0)"
                      : equal;
    }

    std::string mayChangeIf(const std::string& table, const std::string& column) const {
        // An unknown column is dropped; the log has its name and the number of its values.
        const auto count = ask("SELECT count(nullif(" + column + ", '')) FROM old." + table);
        const bool isGivenUp = m_log.has(2, "The column " + column + " of " + table +
                                                " is given up with its values: " + count.front());
        std::string any = isGivenUp ? "1" : "t." + column + " IS NULL";
        for (const auto& may : MayChange) {
            if ((!may.table.empty() && may.table != table) || column.find(may.columns) != 0) {
                continue;
            }
            std::string condition;
            for (const char c : may.condition) {
                condition += c == '%'   ? column.substr(column.size() - 1)
                             : c == '#' ? table
                             : c == '@' ? areAlike(table)
                                        : std::string(1, c);
            }
            if (isValid("SELECT " + condition + " FROM old." + table + " t")) {
                any += " OR coalesce(" + condition + ", 0)";
            }
        }
        return any;
    }

    std::string areAlike(const std::string& table) const {
        std::string all;
        for (const std::string& column : columnsOf(m_db, table, "old")) {
            const bool counts = std::find(std::begin(OfContact), std::end(OfContact), column) !=
                                std::end(OfContact);
            all += counts ? " AND coalesce(o." + column + ", '') = coalesce(t." + column + ", '')"
                          : "";
        }
        return all;
    }

    static std::string join(const Names& texts, const std::string& between) {
        std::string all;
        for (const std::string& text : texts) {
            all += all.empty() ? text : between + text;
        }
        return all;
    }

    const PhonePlace& m_place;
    const Sql m_today;
    std::mt19937 m_random;
    Sql m_db{nullptr};  ///< the database after the starts
    const bool m_isAlone = std::getenv(OneCase) != nullptr;
    LogCapture m_log{m_isAlone ? 6 : 2};
};

[[noreturn]] void runCase(const PhonePlace& place, const PhonePlace& today, std::seed_seq seeds) {
    ::alarm(SecondsUntilHang);
    Case odd(place, today, seeds);
    try {
        const QuietOutput quiet;
        odd.run();
    } catch (const std::exception& error) {
        odd.found.push_back(std::string("an exception: ") + error.what());
    }
    std::string text = "case " + place.folder().filename().string() + ": " + odd.story + "\n";
    for (const std::string& line : odd.found) {
        text += "    " + line.substr(0, 150) + "\n";
    }
    std::cerr << (odd.found.empty() ? "" : text) << std::flush;
    std::_Exit(odd.found.empty() ? 0 : 1);
}

}  // namespace

int main(int argc, char** argv) {
    Campaign campaign("odd", "databases", 20000, argc, argv);
    const fs::path folder = ScratchFolder::memory() / ("das-odd-" + std::to_string(::getpid()));
    const PhonePlace today(folder / "today");
    today.make();
    today.enter();
    FullDatabase::makeToday();
    const char* const only = std::getenv(OneCase);
    std::map<pid_t, std::string> running;
    const auto waitForOne = [&] {
        int status = 0;
        const auto ended = running.find(::wait(&status));
        campaign.check(status == 0, "status " + std::to_string(status) +
                                        ", DAS_ODD_CASE=" + ended->second + " tries it alone");
        fs::remove_all(only == nullptr ? folder / ended->second : fs::path());
        running.erase(ended);
    };
    const long first = only != nullptr ? std::atol(only) : 0;
    for (long i = first; i < (only != nullptr ? first + 1 : campaign.rounds()); ++i) {
        if (running.size() >= AtOnce) {
            waitForOne();
        }
        const PhonePlace place(folder / std::to_string(i));
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
