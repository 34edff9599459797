#include "DamagedFiles.h"

#include <sqlite3.h>

#include <fstream>
#include <iterator>
#include <memory>
#include <stdexcept>

#include "Damage.h"
#include "FullDatabase.h"

namespace fs = std::filesystem;

namespace {

constexpr std::size_t MostDamages = 6;

using Database = std::unique_ptr<sqlite3, decltype(&sqlite3_close)>;

Database open(const fs::path& file) {
    sqlite3* db = nullptr;
    sqlite3_open(file.c_str(), &db);
    return {db, sqlite3_close};
}

std::string read(const fs::path& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

void write(const fs::path& path, const std::string& bytes) {
    std::ofstream(path, std::ios::binary) << bytes;
}

const char* const Tables =
    "SELECT name FROM sqlite_master WHERE type = 'table' AND name NOT LIKE 'sqlite%'";

fs::path journal(const fs::path& file) {
    return file.string() + "-journal";
}

/// What a start keeps beside the database until its upgrade has ended.
fs::path upgradeCopy(const fs::path& file) {
    return file.string() + ".before-upgrade";
}

/// Statements over a table; %T stands for its name, %C for one of its columns.
const char* const SchemaEdits[] = {
    "UPDATE sqlite_master SET sql = 'CREATE TABLE %T (a)' WHERE name = '%T'",
    "UPDATE sqlite_master SET sql = 'no statement' WHERE name = '%T'",
    "UPDATE sqlite_master SET sql = replace(sql, '%C', 'Other') WHERE name = '%T'",
    "UPDATE sqlite_master SET sql = replace(sql, ' TEXT', ' INTEGER NOT NULL') WHERE name = '%T'",
    "UPDATE sqlite_master SET sql = NULL WHERE name = '%T'",
    "UPDATE sqlite_master SET rootpage = rootpage + 1 WHERE name = '%T'",
    "UPDATE sqlite_master SET rootpage = 100000 WHERE name = '%T'",
    "UPDATE sqlite_master SET rootpage = 1 WHERE name = '%T'",
    "UPDATE sqlite_master SET name = lower(name) || 'x' WHERE name = '%T'",
    "UPDATE sqlite_master SET type = 'index' WHERE name = '%T'",
    "UPDATE sqlite_master SET type = 'view', sql = 'CREATE VIEW %T AS SELECT * FROM %T' "
    "WHERE name = '%T'",
    "DELETE FROM sqlite_master WHERE name = '%T'",
    "INSERT INTO sqlite_master SELECT * FROM sqlite_master WHERE name = '%T'"};

const char* const ColumnChanges[] = {
    "ALTER TABLE %T ADD COLUMN Added TEXT DEFAULT 'x'",
    "ALTER TABLE %T RENAME COLUMN %C TO Renamed",
    "ALTER TABLE %T DROP COLUMN %C",
    "ALTER TABLE %T RENAME TO %T_2",
    "CREATE TABLE X AS SELECT * FROM %T; DROP TABLE %T; ALTER TABLE X RENAME TO %T",
    "CREATE TABLE X AS SELECT %C FROM %T; DROP TABLE %T; ALTER TABLE X RENAME TO %T",
    "DROP TABLE %T; CREATE TABLE %T (One INTEGER)",
    "DROP TABLE %T; CREATE VIEW %T AS SELECT 1 AS Id",
    "CREATE TRIGGER T_%T BEFORE INSERT ON %T BEGIN SELECT RAISE(ABORT, 'refused'); END",
    "CREATE TRIGGER T_%T AFTER UPDATE ON %T BEGIN DELETE FROM %T; END",
    "CREATE UNIQUE INDEX I_%T ON %T (rowid % 2)",
    "DELETE FROM %T"};

const char* const CellChanges[] = {"UPDATE %T SET %C = NULL",
                                   "UPDATE %T SET %C = zeroblob(3)",
                                   "UPDATE %T SET %C = x'00ff41fe00'",
                                   "UPDATE %T SET %C = 9223372036854775807",
                                   "UPDATE %T SET %C = -1.5e300",
                                   "UPDATE %T SET %C = ''",
                                   "UPDATE %T SET %C = '2014-99-99T99:99:99+99:99'",
                                   "UPDATE %T SET %C = '''; DROP TABLE PHONE_BOOK; --'",
                                   "UPDATE %T SET %C = printf('%.*c', 300000, 'x') WHERE rowid = 1",
                                   "UPDATE %T SET UserContext = 'nobody'",
                                   "UPDATE sqlite_sequence SET seq = 9223372036854775807",
                                   "INSERT INTO %T SELECT * FROM %T"};

std::string replaced(std::string text, const std::string& what, const std::string& by) {
    for (auto at = text.find(what); at != std::string::npos; at = text.find(what, at)) {
        text.replace(at, what.size(), by);
        at += by.size();
    }
    return text;
}

}  // namespace

const std::vector<DamagedFiles::Way>& DamagedFiles::table() {
    // Ways that stand here more than once are taken more often.
    static const std::vector<Way> ways = {{"bytes", &DamagedFiles::damage},
                                          {"bytes", &DamagedFiles::damage},
                                          {"bytes", &DamagedFiles::damage},
                                          {"one place", &DamagedFiles::damageOnce},
                                          {"one place", &DamagedFiles::damageOnce},
                                          {"empty", &DamagedFiles::empty},
                                          {"text", &DamagedFiles::text},
                                          {"stale journal", &DamagedFiles::staleJournal},
                                          {"foreign journal", &DamagedFiles::foreignJournal},
                                          {"garbage journal", &DamagedFiles::garbageJournal},
                                          {DamagedCopy, &DamagedFiles::damagedCopy},
                                          {GoodCopy, &DamagedFiles::goodCopy},
                                          {"schema", &DamagedFiles::editSchema},
                                          {"schema", &DamagedFiles::editSchema},
                                          {"columns", &DamagedFiles::changeColumns},
                                          {"columns", &DamagedFiles::changeColumns},
                                          {"cells", &DamagedFiles::changeCells},
                                          {"cells", &DamagedFiles::changeCells}};
    return ways;
}

DamagedFiles::DamagedFiles(fs::path scratch, const std::string& today)
    : m_scratch(std::move(scratch)) {
    m_bases.push_back({"today", today});
    const fs::path file = m_scratch / "form.db";
    for (const std::string& form : FullDatabase::forms()) {
        FullDatabase::makeForm(file, form);
        m_bases.push_back({form, read(file)});
        fs::remove(file);
    }
    for (const Base& base : m_bases) {
        m_journals.push_back(journalOf(base.bytes));
    }
}

std::string DamagedFiles::journalOf(const std::string& bytes) const {
    const fs::path file = m_scratch / "journal.db";
    write(file, bytes);
    const Database db = open(file);
    // A cache of a few pages: they leave it, and the journal in front of them, before the end.
    FullDatabase::execute(db.get(), "PRAGMA cache_size = 2; BEGIN");
    for (const std::string& table : FullDatabase::texts(db.get(), Tables)) {
        FullDatabase::execute(db.get(), "DELETE FROM " + table);
    }
    std::string left = read(journal(file));
    FullDatabase::execute(db.get(), "ROLLBACK");
    return left;
}

std::string DamagedFiles::make(const fs::path& folder, std::mt19937& random) const {
    const Way& way = table()[random() % table().size()];
    // Every second one is of today; the others are on their way through an upgrade.
    const Base& base = m_bases[random() % 2 == 0 ? 0 : random() % m_bases.size()];
    Work work{folder / "phone.db", base.bytes, random, {}};
    (this->*way.apply)(work);
    write(work.file, work.bytes);
    return std::string(way.name) + ": " + base.name + work.told;
}

void DamagedFiles::damageOnce(Work& work) const {
    const Damage damage{static_cast<Damage::Kind>(work.below(Damage::Kinds)), work.random(),
                        static_cast<std::uint8_t>(work.below(256))};
    damage.apply(work.bytes);
    work.told += ", " + damage.toString();
}

void DamagedFiles::damage(Work& work) const {
    for (std::size_t left = 2 + work.below(MostDamages - 1); left > 0; --left) {
        damageOnce(work);
    }
}

void DamagedFiles::empty(Work& work) const {
    work.bytes.clear();
}

void DamagedFiles::text(Work& work) const {
    work.bytes = "This is no database.\n";
    while (work.below(3) != 0) {
        work.bytes += work.bytes;
    }
}

/// Of a transaction of an earlier time: the database has changed since.
void DamagedFiles::staleJournal(Work& work) const {
    const std::string before = work.bytes;
    change(work,
           "CREATE TABLE IF NOT EXISTS LATER AS SELECT * FROM GENERAL_CONFIG; "
           "UPDATE GENERAL_CONFIG SET Value = 'later'");
    write(journal(work.file), journalOf(before));
}

/// Of another database.
void DamagedFiles::foreignJournal(Work& work) const {
    const std::size_t other = work.below(m_journals.size());
    write(journal(work.file), m_journals[other]);
    work.told += ", journal of " + m_bases[other].name;
}

void DamagedFiles::garbageJournal(Work& work) const {
    std::string bytes = journalOf(work.bytes);
    for (std::size_t left = 1 + work.below(MostDamages); left > 0; --left) {
        const Damage damage{static_cast<Damage::Kind>(work.below(Damage::Kinds)), work.random(),
                            static_cast<std::uint8_t>(work.below(256))};
        damage.apply(bytes);
        work.told += ", journal " + damage.toString();
    }
    write(journal(work.file), bytes);
}

/// Damaged so that SQLite sees it: what it can't see can't be told from a good copy.
void DamagedFiles::damagedCopy(Work& work) const {
    Work copy{work.file, work.bytes, work.random, {}};
    switch (work.below(3)) {
        case 0:
            text(copy);
            break;
        case 1:
            copy.bytes.resize(copy.bytes.size() / 2);
            break;
        default:
            Damage{Damage::Zeroed, 4096 * (1 + work.below(3)), 0}.apply(copy.bytes);
    }
    write(upgradeCopy(work.file), copy.bytes);
}

void DamagedFiles::goodCopy(Work& work) const {
    write(upgradeCopy(work.file), work.bytes);
    damage(work);
}

void DamagedFiles::change(Work& work, const std::string& sql) {
    write(work.file, work.bytes);
    {
        const Database db = open(work.file);
        char* error = nullptr;
        // One that SQLite refuses leaves the database whole, which is no loss among many.
        const std::string permission = "PRAGMA synchronous=OFF; PRAGMA writable_schema=ON;";
        if (sqlite3_exec(db.get(), (permission + sql).c_str(), nullptr, nullptr, &error) != 0) {
            work.told += ", refused";
        }
        sqlite3_free(error);
    }
    work.bytes = read(work.file);
}

namespace {

/// One of @p statements over a table of @p bytes and one of its columns.
template <std::size_t Count>
std::string oneOf(const char* const (&statements)[Count], const fs::path& file,
                  const std::string& bytes, std::mt19937& random) {
    write(file, bytes);
    const Database db = open(file);
    const auto tables = FullDatabase::texts(db.get(), Tables);
    const std::string& table = tables[random() % tables.size()];
    const auto columns =
        FullDatabase::texts(db.get(), "SELECT name FROM pragma_table_info('" + table + "')");
    const std::string sql = replaced(statements[random() % Count], "%T", table);
    return replaced(sql, "%C", columns[random() % columns.size()]);
}

}  // namespace

void DamagedFiles::editSchema(Work& work) const {
    const std::string sql = oneOf(SchemaEdits, work.file, work.bytes, work.random);
    work.told += ", " + sql;
    change(work, sql);
}

void DamagedFiles::changeColumns(Work& work) const {
    const std::string sql = oneOf(ColumnChanges, work.file, work.bytes, work.random);
    work.told += ", " + sql;
    change(work, sql);
}

void DamagedFiles::changeCells(Work& work) const {
    const std::string sql = oneOf(CellChanges, work.file, work.bytes, work.random);
    work.told += ", " + sql;
    change(work, sql);
}
