#include "OddStatements.h"

#include <vector>

#include "testkit/Sql.h"

namespace {

const char* const Tables =
    "SELECT name FROM sqlite_master WHERE type = 'table' AND name NOT LIKE 'sqlite%'";

/// Statements over a table; %T stands for its name, %C for one of its columns.
const std::vector<std::string> SchemaEdits = {
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

const std::vector<std::string> ColumnChanges = {
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

const std::vector<std::string> CellChanges = {
    "UPDATE %T SET %C = NULL",
    "UPDATE %T SET %C = zeroblob(3)",
    "UPDATE %T SET %C = x'00ff41fe00'",
    "UPDATE %T SET %C = 9223372036854775807",
    "UPDATE %T SET %C = -1.5e300",
    "UPDATE %T SET %C = ''",
    "UPDATE %T SET %C = '2014-99-99T99:99:99+99:99'",
    "UPDATE %T SET %C = '''; DROP TABLE PHONE_BOOK; --'",
    "UPDATE %T SET %C = printf('%.*c', 300000, 'x') WHERE rowid = 1",
    "UPDATE %T SET UserContext = 'no-one'",
    "UPDATE sqlite_sequence SET seq = 9223372036854775807",
    "INSERT INTO %T SELECT * FROM %T"};

const std::vector<std::string>* const Statements[OddStatement::Kinds] = {
    &SchemaEdits, &ColumnChanges, &CellChanges};

std::string replaced(std::string text, const std::string& what, const std::string& by) {
    for (auto at = text.find(what); at != std::string::npos; at = text.find(what, at)) {
        text.replace(at, what.size(), by);
        at += by.size();
    }
    return text;
}

}  // namespace

void OddStatement::apply(const std::string& file) const {
    const Sql db(file);
    const auto tables = db.texts(Tables);
    if (tables.empty()) {
        return;
    }
    const std::string& table = tables[place % tables.size()];
    const auto columns = db.texts("SELECT name FROM pragma_table_info('" + table + "')");
    const auto& statements = *Statements[kind];
    std::string sql = replaced(statements[value % statements.size()], "%T", table);
    if (!columns.empty()) {
        sql = replaced(sql, "%C", columns[place / tables.size() % columns.size()]);
    }
    const std::string permission = "PRAGMA synchronous=OFF; PRAGMA writable_schema=ON;";
    (void)db.run(permission + sql);
}
