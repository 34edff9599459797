#include "HostilePlace.h"

#include <sqlite3.h>

#include <algorithm>

#include "Log.h"
#include "SqlJudge.h"
#include "settings/GeneralConfigurationDAO.h"

namespace {

const std::string canaryStart = "CANARY-";

/// What may be done besides the work on tables. Making a table that is there is tried by some, and
/// SQLite asks before it looks.
bool isHarmless(const SqlJudge::Act& act, const std::set<std::string>& tables) {
    const auto& [action, name] = act;
    static const std::set<std::string> functions = {"count", "upper", "like", "current_timestamp"};
    switch (action) {
        case SQLITE_SELECT:
        case SQLITE_TRANSACTION:
            return true;
        case SQLITE_FUNCTION:
            return functions.count(name) != 0;
        case SQLITE_READ:
            return name == "sqlite_master" || tables.count(name) != 0;
        case SQLITE_INSERT:
            return name == "sqlite_master" || tables.count(name) != 0;
        case SQLITE_UPDATE:
        case SQLITE_DELETE:
        case SQLITE_CREATE_TABLE:
            return tables.count(name) != 0;
        default:
            return false;
    }
}

const char* valueColumnOf(const Subject& subject) {
    const struct {
        const char* table;
        const char* column;
    } special[] = {{"PHONE_BOOK", "Surname"},
                   {"CALL_LOG", "Surname"},
                   {"CONVERSATIONS", "PhonebookId"},
                   {"GENERAL_CONFIG", "Value"},
                   {"CallGroup", "CallGroupName"}};
    for (const auto& row : special) {
        if (subject.table == row.table) {
            return row.column;
        }
    }
    const auto isPlain = [&](const std::string& name) {
        return name != "UserContext" && name != "Id" && name != subject.key;
    };
    return std::find_if(subject.columns.begin(), subject.columns.end(), isPlain)->c_str();
}

}  // namespace

std::set<std::string> HostilePlace::tablesOf(const Subject& subject) {
    std::set<std::string> tables = {subject.table};
    if (subject.table == "PHONE_BOOK") {
        tables.insert("CONVERSATIONS");
    } else if (subject.table == "CALL_LOG" || subject.table == "CONVERSATIONS") {
        tables.insert({"PHONE_BOOK", "CALL_LOG", "CONVERSATIONS"});
    }
    return tables;
}

const std::string& HostilePlace::victimKey(const Subject& subject) {
    static std::map<std::string, std::string> keys;
    const auto known = keys.find(subject.table);
    if (known != keys.end()) {
        return known->second;
    }
    const std::string where = subject.isOfUsers ? " WHERE UserContext='base'" : "";
    sqlite3_stmt* statement = nullptr;
    const std::string sql = "SELECT " + (subject.isSettings() ? std::string("Name") : subject.key) +
                            " FROM " + subject.table + where + " ORDER BY rowid LIMIT 1";
    sqlite3_prepare_v2(SqlJudge::connection(), sql.c_str(), -1, &statement, nullptr);
    std::string key;
    if (sqlite3_step(statement) == SQLITE_ROW) {
        key = reinterpret_cast<const char*>(sqlite3_column_text(statement, 0));
    }
    sqlite3_finalize(statement);
    return keys[subject.table] = key;
}

std::string HostilePlace::valueElement(const Subject& subject) {
    return subject.isSettings() ? "Hostage" : valueColumnOf(subject);
}

std::string HostilePlace::asContent(const std::string& text) {
    std::string content;
    for (const char c : text) {
        switch (c) {
            case '<':
                content += "&lt;";
                break;
            case '>':
                content += "&gt;";
                break;
            case '&':
                content += "&amp;";
                break;
            case '"':
                content += "&quot;";
                break;
            case '\n':
            case '\r':
            case '\t':
                content += "&#" + std::to_string(static_cast<int>(c)) + ";";
                break;
            default:
                content += c;
        }
    }
    return content;
}

HostilePlace::HostilePlace(const std::vector<Subject>& subjects) {
    Log::setLevel(0);
    std::filesystem::copy(DAS_DEPLOY_DIR, root() / "Aurel_Deploy",
                          std::filesystem::copy_options::recursive);
    m_service = std::make_unique<DataAccessService>();
    m_service->init(m_context);
    m_db = SqlJudge::connection();
    for (const Subject& subject : subjects) {
        fill(subject);
    }
    for (const Subject& subject : subjects) {
        pristine(subject.table);
    }
    sqlite3_open(":memory:", &m_untouched);
    sqlite3_backup* const backup = sqlite3_backup_init(m_untouched, "main", m_db, "main");
    sqlite3_backup_step(backup, -1);
    sqlite3_backup_finish(backup);
    GeneralConfigurationDAO::clearStaticCaches();
}

HostilePlace::~HostilePlace() {
    m_service.reset();
    sqlite3_close(m_untouched);
}

/// Makes the table of @p subject by a request, and rows with canaries in it.
void HostilePlace::fill(const Subject& subject) {
    const std::string read = "<?xml version=\"1.0\" encoding=\"utf-8\"?><Schema name=\"" +
                             subject.schema +
                             "\"><ReasonForMessage>read_request</ReasonForMessage></Schema>";
    (void)m_service->processRequest(read);
    if (subject.isSettings()) {
        for (const char* user : {"base", "visitor", ""}) {
            for (const char* item : {"Hostage", "Other"}) {
                run("INSERT OR REPLACE INTO GENERAL_CONFIG VALUES('" + subject.schema + "','" +
                    user + "','" + item + "','" + canaryOf(subject, user) + "')");
            }
        }
        return;
    }
    if (cell("SELECT COUNT(*) FROM " + subject.table) == "0") {
        for (const char* user : {"base", "visitor", "base", "visitor"}) {
            insertRows(subject, subject.isOfUsers ? user : "base");
        }
        return;
    }
    const std::string column = valueColumnOf(subject);
    if (!subject.isOfUsers) {
        run("UPDATE " + subject.table + " SET " + column + "='" + canaryOf(subject, "base") + "'");
        return;
    }
    for (const char* user : {"base", "visitor"}) {
        run("UPDATE " + subject.table + " SET " + column + "='" + canaryOf(subject, user) +
            "' WHERE UserContext='" + user + "'");
    }
}

void HostilePlace::insertRows(const Subject& subject, const std::string& user) {
    static const char* const categories[] = {"dialled", "missed"};
    const std::string number = std::to_string(m_nextRow++);
    std::string values;
    for (const std::string& column : subject.columns) {
        std::string value = "'" + canaryOf(subject, user) + "'";
        if (column == "UserContext") {
            value = "'" + user + "'";
        } else if (column == subject.key) {
            value = number;
        } else if (column == "Category") {
            value = "'" + std::string(categories[m_nextRow % 2]) + "'";
        } else if (column.rfind("TimeDate", 0) == 0) {
            value = "'2014-03-07T09:15:30+01:00'";
        }
        values += (values.empty() ? "" : ",") + value;
    }
    run("INSERT INTO " + subject.table + " VALUES(" + values + ")");
}

std::string HostilePlace::canaryOf(const Subject& subject, const std::string& user) const {
    return canaryStart + subject.table + "-" + (user.empty() ? "device" : user);
}

void HostilePlace::checkActs(Campaign& campaign, const std::set<std::string>& tables) const {
    for (const SqlJudge::Act& act : SqlJudge::acts()) {
        campaign.check(isHarmless(act, tables), SqlJudge::nameOf(act));
    }
    for (const std::string& text : SqlJudge::badTexts()) {
        campaign.found("no one statement: " + text.substr(0, 500));
    }
}

std::string HostilePlace::wrongChange(const Subject& subject, const std::string& table,
                                      bool isWide) {
    const RowTexts now = rowsOf(table);
    const std::string base = isWide ? canaryStart + table + "-base" : "";
    for (const auto& [row, text] : pristine(table)) {
        const auto found = now.find(row);
        const bool isSame = found != now.end() && found->second == text;
        const std::string key = "|" + victimKey(subject) + "|";
        const bool isVictim = subject.isSettings()
                                  ? text.find("|Hostage|") != std::string::npos &&
                                        text.find("|" + subject.schema + "|") != std::string::npos
                                  : text.find(key) != std::string::npos &&
                                        text.find("|visitor|") == std::string::npos;
        const bool isFree = table == subject.table &&
                            (isVictim || (isWide && text.find(base) != std::string::npos));
        if (!isSame && !isFree) {
            return "row " + std::to_string(row) + " of " + table + " changed";
        }
    }
    return {};
}

std::string HostilePlace::changeBeyond(const std::string& table, const std::string& user) {
    const RowTexts now = rowsOf(table);
    for (const auto& [row, text] : pristine(table)) {
        const auto found = now.find(row);
        if ((found == now.end() || found->second != text) &&
            text.find("|" + user + "|") == std::string::npos) {
            return "row " + std::to_string(row) + " of " + table + " changed";
        }
    }
    return {};
}

bool HostilePlace::showsOthers(const std::string& text, const Subject& subject) const {
    const std::set<std::string> tables = tablesOf(subject);
    for (auto at = text.find(canaryStart); at != std::string::npos;
         at = text.find(canaryStart, at)) {
        at += canaryStart.size();
        const std::string table = text.substr(at, text.find('-', at) - at);
        const std::size_t user = at + table.size() + 1;
        if (tables.count(table) == 0 || text.compare(user, 7, "visitor") == 0) {
            return true;
        }
    }
    return false;
}

std::string HostilePlace::storedValue(const Subject& subject) const {
    const std::string column = valueColumnOf(subject);
    std::string where = subject.isOfUsers ? " WHERE UserContext='base' AND " : " WHERE ";
    where += subject.isSettings() ? "Schema='" + subject.schema + "' AND Name='Hostage'"
                                  : subject.key + "='" + victimKey(subject) + "'";
    return cell("SELECT " + column + " FROM " + subject.table + where);
}

void HostilePlace::restore() {
    sqlite3_backup* const backup = sqlite3_backup_init(m_db, "main", m_untouched, "main");
    sqlite3_backup_step(backup, -1);
    sqlite3_backup_finish(backup);
    GeneralConfigurationDAO::clearStaticCaches();
}

HostilePlace::RowTexts HostilePlace::rowsOf(const std::string& table) const {
    RowTexts rows;
    sqlite3_stmt* statement = nullptr;
    const std::string sql = "SELECT rowid,* FROM " + table;
    sqlite3_prepare_v2(m_db, sql.c_str(), -1, &statement, nullptr);
    while (sqlite3_step(statement) == SQLITE_ROW) {
        std::string& text = rows[sqlite3_column_int64(statement, 0)];
        text = "|";
        for (int i = 1; i < sqlite3_column_count(statement); ++i) {
            const auto* cell = reinterpret_cast<const char*>(sqlite3_column_text(statement, i));
            text.append(cell != nullptr ? cell : "(null)").append("|");
        }
    }
    sqlite3_finalize(statement);
    return rows;
}

const HostilePlace::RowTexts& HostilePlace::pristine(const std::string& table) {
    const auto known = m_pristine.find(table);
    return known != m_pristine.end() ? known->second : m_pristine[table] = rowsOf(table);
}

std::string HostilePlace::cell(const std::string& sql) const {
    sqlite3_stmt* statement = nullptr;
    std::string text = "(none)";
    sqlite3_prepare_v2(m_db, sql.c_str(), -1, &statement, nullptr);
    if (sqlite3_step(statement) == SQLITE_ROW) {
        const auto* cell = reinterpret_cast<const char*>(sqlite3_column_text(statement, 0));
        text.assign(cell != nullptr ? cell : "",
                    static_cast<std::size_t>(sqlite3_column_bytes(statement, 0)));
    }
    sqlite3_finalize(statement);
    return text;
}

void HostilePlace::run(const std::string& sql) const {
    char* error = nullptr;
    if (sqlite3_exec(m_db, sql.c_str(), nullptr, nullptr, &error) != SQLITE_OK) {
        throw std::runtime_error(sql + ": " + error);
    }
}
