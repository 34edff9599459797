#include "HostilePlace.h"

#include <sqlite3.h>

#include <algorithm>

#include "Log.h"
#include "SqlJudge.h"
#include "settings/GeneralConfigurationDAO.h"
#include "testkit/Messages.h"

namespace {

const std::string canaryStart = "CANARY-";

/// What is allowed besides access to tables. Some requests try to create an existing table, and
/// SQLite calls the authorizer before it checks that.
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
    const std::string column = subject.isSettings() ? std::string("Name") : subject.key;
    const std::string key = Sql(SqlJudge::connection())
                                .cell("SELECT " + column + " FROM " + subject.table + where +
                                      " ORDER BY rowid LIMIT 1");
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

HostilePlace::HostilePlace(const std::vector<Subject>& subjects) : m_untouched(":memory:") {
    Log::setLevel(0);
    std::filesystem::copy(DAS_DEPLOY_DIR, root() / "Aurel_Deploy",
                          std::filesystem::copy_options::recursive);
    m_phone.start();
    m_db = Sql(SqlJudge::connection());
    for (const Subject& subject : subjects) {
        fill(subject);
    }
    for (const Subject& subject : subjects) {
        pristine(subject.table);
    }
    (void)m_untouched.copyFrom(m_db);
    GeneralConfigurationDAO::clearStaticCaches();
}

/// Creates the table of @p subject by a request, and inserts rows with canaries.
void HostilePlace::fill(const Subject& subject) {
    (void)service().processRequest(xml::message(subject.schema, "read_request"));
    if (subject.isSettings()) {
        for (const char* user : {"base", "visitor", ""}) {
            for (const char* item : {"Hostage", "Other"}) {
                m_db.mustRun("INSERT OR REPLACE INTO GENERAL_CONFIG VALUES('" + subject.schema +
                             "','" + user + "','" + item + "','" + canaryOf(subject, user) + "')");
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
        m_db.mustRun("UPDATE " + subject.table + " SET " + column + "='" +
                     canaryOf(subject, "base") + "'");
        return;
    }
    for (const char* user : {"base", "visitor"}) {
        m_db.mustRun("UPDATE " + subject.table + " SET " + column + "='" + canaryOf(subject, user) +
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
    m_db.mustRun("INSERT INTO " + subject.table + " VALUES(" + values + ")");
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
    (void)m_db.copyFrom(m_untouched);
    GeneralConfigurationDAO::clearStaticCaches();
}

HostilePlace::RowTexts HostilePlace::rowsOf(const std::string& table) const {
    RowTexts rows;
    for (const auto& cells : m_db.rows("SELECT rowid,* FROM " + table, nullptr, "(null)")) {
        std::string& text = rows[std::stoll(cells.front())];
        text = "|";
        for (std::size_t i = 1; i < cells.size(); ++i) {
            text += cells[i] + "|";
        }
    }
    return rows;
}

const HostilePlace::RowTexts& HostilePlace::pristine(const std::string& table) {
    const auto known = m_pristine.find(table);
    return known != m_pristine.end() ? known->second : m_pristine[table] = rowsOf(table);
}
