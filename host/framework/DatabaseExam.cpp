// A finding is for a person who may not know SQL: it says what was found, and what to do next.

#include "framework/DatabaseExam.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <map>
#include <system_error>
#include <utility>

#include "ClientUtils.h"
#include "Secrets.h"
#include "framework/ServiceFiles.h"
#include "schemas/KnownSchemas.h"
#include "terminal/Descriptor.h"
#include "terminal/Quotes.h"
#include "terminal/TextParts.h"

namespace {

const char* const UserColumn = "UserContext";
const char* const SettingsTable = "GENERAL_CONFIG";
const char* const RestoreAdvice = "stop the host, keep a copy of the file, and restore a backup";

/// The tables of the schemas, each once.
std::map<std::string, const KnownSchemas::Entry*> knownTables() {
    std::map<std::string, const KnownSchemas::Entry*> tables;
    for (const KnownSchemas::Entry& entry : KnownSchemas::all()) {
        tables.emplace(entry.table, &entry);
    }
    return tables;
}

std::string inSql(const std::string& name) {
    return quoted(name, '"', "\"\"");
}

bool isThere(const std::string& path) {
    struct stat status {};
    return stat(path.c_str(), &status) == 0 && status.st_size > 0;
}

/// Whether a column holds passwords that only the key can open.
bool isEncrypted(const std::string& column) {
    return TextParts::endsWith(column, "Enc") && Secrets::isSecret(column);
}

/// Whether an upgrade gives tables that it keeps aside a name of this form.
bool isPutAside(const std::string& table) {
    for (const std::string ending : {"_OLD", "_MIGRATION"}) {
        if (table.size() > ending.size() &&
            table.compare(table.size() - ending.size(), ending.size(), ending) == 0) {
            return true;
        }
    }
    return false;
}

}  // namespace

DatabaseExam::DatabaseExam(std::string path) : m_path(std::move(path)) {
    if (!examineFile()) {
        return;
    }
    examineJournal();
    if (!m_file.open(m_path)) {
        const std::string advice = m_file.advice();
        add(Verdict::Fault, "integrity", m_file.error(), advice.empty() ? RestoreAdvice : advice);
        return;
    }
    if (!examineIntegrity()) {
        return;
    }
    examineTables();
    examineColumns();
    examineUsers();
    examineKey();
    examineLeftovers();
    examineSizes();
}

bool DatabaseExam::hasFault() const {
    return std::any_of(m_findings.begin(), m_findings.end(),
                       [](const Finding& each) { return each.verdict == Verdict::Fault; });
}

bool DatabaseExam::isOfTelephone() const {
    const auto known = knownTables();
    return std::any_of(m_tables.begin(), m_tables.end(),
                       [&](const std::string& table) { return known.count(table) > 0; });
}

bool DatabaseExam::examineFile() {
    struct stat status {};
    const Descriptor file(::open(m_path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
    const int error = !file.isOpen() || fstat(file.number(), &status) != 0 ? errno : 0;
    if (error != 0 || !S_ISREG(status.st_mode)) {
        const std::string why =
            error != 0 ? std::generic_category().message(error) : std::string("is no file");
        add(Verdict::Fault, "file", m_path + ": " + why,
            error == ENOENT ? "name its folder by --db or DB_PATH; a start makes a new one"
                            : "see to its kind and its rights");
        return false;
    }
    if (status.st_size == 0) {
        add(Verdict::Note, "file", m_path + ": empty", "the next start fills it");
        return false;
    }
    const bool isOpenToOthers = (status.st_mode & (S_IRWXG | S_IRWXO)) != 0;
    add(isOpenToOthers ? Verdict::Note : Verdict::Good, "file",
        m_path + ": " + std::to_string(status.st_size) + " bytes" +
            (isOpenToOthers ? ", open to other users of the machine" : ""),
        isOpenToOthers ? "chmod 600, for there are passwords in it" : "");
    return true;
}

void DatabaseExam::examineJournal() {
    const std::string journal = ServiceFiles::targetOf(m_path) + "-journal";
    if (isThere(journal)) {
        add(Verdict::Note, "journal", journal + ": a commit is at work, or was cut off",
            "leave it there: the next start rolls back what is not complete");
    } else {
        add(Verdict::Good, "journal", "no commit is cut off");
    }
}

bool DatabaseExam::examineIntegrity() {
    Rows rows;
    const bool isRead = m_file.query("PRAGMA integrity_check(10)", rows);
    for (const auto& row : rows) {
        if (row.at(0) != "ok") {
            add(Verdict::Fault, "integrity", row.at(0), RestoreAdvice);
        }
    }
    if (!isRead) {
        add(Verdict::Fault, "integrity", m_file.error(), RestoreAdvice);
    } else if (rows.size() == 1 && rows[0][0] == "ok") {
        add(Verdict::Good, "integrity", "ok");
    }
    return isRead;
}

void DatabaseExam::examineTables() {
    for (const auto& row : rowsOf("SELECT name FROM sqlite_master WHERE type = 'table'")) {
        m_tables.push_back(row.at(0));
    }
    std::vector<std::string> missing;
    for (const auto& [table, schema] : knownTables()) {
        if (!hasTable(table)) {
            missing.push_back(table);
        }
    }
    if (missing.empty()) {
        add(Verdict::Good, "tables", "all there");
    } else {
        add(Verdict::Note, "tables", "missing: " + ClientUtils::join(missing, ", "),
            "the first request to each makes it with its default rows");
    }
}

void DatabaseExam::examineColumns() {
    for (const auto& [table, schema] : knownTables()) {
        std::vector<std::string> missing;
        for (const auto& column : schema->columns) {
            if (hasTable(table) && !hasColumn(table, column.name)) {
                missing.push_back(column.name);
            }
        }
        if (!missing.empty()) {
            add(Verdict::Note, "columns", table + " lacks " + ClientUtils::join(missing, ", "),
                "an older release made it; the next start upgrades it");
        }
    }
}

// Only settings may have a blank user: those of the telephone.
void DatabaseExam::examineUsers() {
    bool isGood = true;
    for (const auto& [table, schema] : knownTables()) {
        if (!hasTable(table) || !hasColumn(table, UserColumn)) {
            continue;
        }
        const std::string none = table == SettingsTable ? "" : " OR UserContext = ''";
        const std::string count = cellOf(
            "SELECT count(*) FROM " + inSql(table) +
            " WHERE UserContext IS NULL OR UserContext NOT IN ('base', 'visitor', '')" + none);
        if (!count.empty() && count != "0") {
            isGood = false;
            add(Verdict::Fault, "users", table + ": " + count + " rows of no user",
                "no request finds them; keep a copy of the file before you delete them");
        }
    }
    if (isGood) {
        add(Verdict::Good, "users", "each row has one");
    }
}

void DatabaseExam::examineKey() {
    if (isThere(m_path.substr(0, m_path.rfind('/') + 1) + ServiceFiles::Key)) {
        return;
    }
    for (const auto& [table, schema] : knownTables()) {
        for (const auto& column : schema->columns) {
            m_lacksKey = m_lacksKey || (isEncrypted(column.name) && hasTable(table) &&
                                        hasColumn(table, column.name) &&
                                        !cellOf("SELECT 1 FROM " + inSql(table) + " WHERE " +
                                                inSql(column.name) + " <> '' LIMIT 1")
                                             .empty());
        }
    }
    if (hasTable(SettingsTable) && hasColumn(SettingsTable, "Value")) {
        const Rows names = rowsOf("SELECT DISTINCT Name FROM GENERAL_CONFIG WHERE Value <> ''");
        m_lacksKey = m_lacksKey || std::any_of(names.begin(), names.end(), [](const auto& row) {
                         return isEncrypted(row.at(0));
                     });
    }
    if (m_lacksKey) {
        add(Verdict::Note, "key", "encrypted passwords, and no " + std::string(ServiceFiles::Key),
            "put the key of this database next to the file, or enter the passwords again");
    }
}

void DatabaseExam::examineLeftovers() {
    const auto known = knownTables();
    std::vector<std::string> strange;
    std::copy_if(m_tables.begin(), m_tables.end(), std::back_inserter(strange),
                 [&](const std::string& table) {
                     return known.count(table) == 0 && table.rfind("sqlite_", 0) != 0;
                 });
    for (const std::string& table : strange) {
        const bool isAside = isPutAside(table);
        add(isAside ? Verdict::Fault : Verdict::Note, "leftovers",
            table + ": " + cellOf("SELECT count(*) FROM " + inSql(table)) + " rows" +
                (isAside ? ", put aside by an upgrade that broke off" : ", a table of no schema"),
            isAside
                ? "its rows are the only copy: keep the file, and export them before you drop it"
                : "an older release or another program made it");
    }
    if (strange.empty()) {
        add(Verdict::Good, "leftovers", "none");
    }
}

void DatabaseExam::examineSizes() {
    const auto known = knownTables();
    for (const std::string& table : m_tables) {
        if (known.count(table) > 0) {
            add(Verdict::Good, "size",
                table + ": " + cellOf("SELECT count(*) FROM " + inSql(table)) + " rows");
        }
    }
    const std::string free = cellOf("PRAGMA freelist_count");
    add(Verdict::Good, "size",
        cellOf("PRAGMA page_count") + " pages of " + cellOf("PRAGMA page_size") + " bytes, " +
            free + " of them free");
}

bool DatabaseExam::hasTable(const std::string& table) const {
    return std::find(m_tables.begin(), m_tables.end(), table) != m_tables.end();
}

bool DatabaseExam::hasColumn(const std::string& table, const std::string& column) {
    return cellOf("SELECT count(*) FROM pragma_table_info('" + table + "') WHERE name = '" +
                  column + "'") != "0";
}

DatabaseExam::Rows DatabaseExam::rowsOf(const std::string& sql) {
    Rows rows;
    if (!m_file.query(sql, rows)) {
        add(Verdict::Fault, "reading", m_file.error() + ": " + sql, RestoreAdvice);
    }
    return rows;
}

std::string DatabaseExam::cellOf(const std::string& sql) {
    const Rows rows = rowsOf(sql);
    return rows.empty() || rows[0].empty() ? "" : rows[0][0];
}

void DatabaseExam::add(Verdict verdict, const std::string& subject, const std::string& words,
                       const std::string& advice) {
    m_findings.push_back({verdict, subject, words, advice});
}
