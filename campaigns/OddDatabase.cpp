#include "OddDatabase.h"

#include <algorithm>
#include <iterator>

#include "testkit/FullDatabase.h"

namespace {

/// Cells that steps read, by the beginning of the column's name; "*" stands for a unique value.
const struct {
    const char* column;
    std::vector<const char*> values;
} KnownCells[] = {
    {"UserContext", {"base", "base", "base", "base", "visitor", "visitor", "", nullptr, "other"}},
    {"UniqueI", {"1", "2", "7", "12", "40", "*", nullptr, "-3", "9223372036854775807", "007"}},
    {"Id", {"1", "2", "10", "30", "31", "32", "39", "100", "109", "200", "617", "618", "1017"}},
    {"CallGroupName", {"*"}},
    {"CallGroup", {"1", "2", "7", "16", "*"}},
    {"FileType", {"0", "1", "5", "8", "9", "*"}},
    {"Schema", {"AudioSettings", "TransportSettings", "AcmsSettings", "#It''s, a\\", ""}},
    {"Name", {"*", "*", "*", "*", "*", "WbmAllowed", "TransactionTimer", "TransactionTimer"}},
    {"Function", {"*", "*", "*", "0", ""}},
    {"Rank", {"1", "2", "3", "*"}},
    {"TimeDate", {"2014-03-07T09:15:10+01:00", "2014-03-08T10:15:10Z", "*", ""}},
};

class Maker {
    std::size_t below(std::size_t limit) { return m_random() % limit; }
    template <typename List>
    auto oneOf(const List& list) {
        return *(std::begin(list) + static_cast<long>(below(std::size(list))));
    }

public:
    Maker(const Sql& db, std::mt19937& random) : m_db(db), m_random(random) {}

    std::string make(const std::vector<std::string>& today) {
        m_db.mustRun(
            "PRAGMA synchronous=OFF; PRAGMA journal_mode=OFF; PRAGMA legacy_alter_table=ON");
        makeTables(today);
        for (const std::string& table : tables()) {
            if (below(5) == 0) {
                mutilate(table);
            }
        }
        const std::string table = oneOf(tables());
        const std::string neighbours[] = {
            "CREATE VIEW ODD AS SELECT * FROM " + table, "CREATE VIEW ODD AS SELECT * FROM NOWHERE",
            "CREATE TABLE IF NOT EXISTS " + table + "_MIGRATION (Stale TEXT)",
            "CREATE TABLE ODD (UserContext TEXT, Id TEXT, Value BLOB)"};
        const std::string neighbour = oneOf(neighbours);
        m_db.mustRun(neighbour);
        for (const std::string& each : tables()) {
            fill(each);
        }
        return m_story + "; " + neighbour;
    }

private:
    std::vector<std::string> tables() {
        return m_db.texts(
            "SELECT name FROM sqlite_master WHERE type = 'table' AND name NOT LIKE "
            "'sqlite%' ORDER BY name");
    }
    /// Runs a statement that SQLite may refuse: the table exists, or the key allows no more rows.
    void tryTo(const std::string& sql) { (void)m_db.run(sql); }

    void makeTables(const std::vector<std::string>& today) {
        m_story = oneOf(FullDatabase::forms());
        FullDatabase::makeTables(m_db, m_story);
        m_db.mustRun(
            "DELETE FROM GENERAL_CONFIG WHERE Schema = 'TransportSettings' AND "
            "length(Name) % " +
            std::to_string(2 + below(6)) + " = 0");
        for (const std::string& statement : today) {
            tryTo(below(6) > 0 ? statement : "");
        }
    }

    /// Creates the table again with other columns. Its rows stay.
    void mutilate(const std::string& table) {
        auto columns = columnsOf(m_db, table);
        const auto somewhere = [&] {
            return columns.begin() + static_cast<long>(below(columns.size()));
        };
        // Not cut, because oddities are kept on purpose: without all its columns, the one table
        // ends the upgrade, and the other does not change.
        const bool isCut = table != "FORWARDING_KEY_DESTINATIONS" && table != "GENERAL_CONFIG";
        const std::size_t change = isCut ? below(5) : 2 + below(2);
        if (change == 0 && columns.size() > 1) {
            columns.erase(somewhere());
        } else if (change == 1) {
            columns.erase(somewhere() + 1, columns.end());
        } else if (change == 2) {
            columns.insert(somewhere(), "Odd_" + table);
        }
        if (below(3) == 0) {
            std::shuffle(columns.begin(), columns.end(), m_random);
        }
        std::string all;
        std::string shared = "rowid";
        const std::string information = " FROM pragma_table_info('" + table + "') WHERE ";
        for (const std::string& column : columns) {
            const auto type = m_db.texts("SELECT type" + information + "name = '" + column + "'");
            const std::string others[] = {"INTEGER", "NUMERIC", "BLOB", ""};
            all += (all.empty() ? "" : ", ") + column + " " +
                   (type.empty() || below(12) == 0 ? oneOf(others) : type.front());
            shared += type.empty() ? "" : ", " + column;
        }
        const auto key = m_db.texts("SELECT group_concat(name, ', ')" + information + "pk");
        m_db.mustRun("ALTER TABLE " + table + " RENAME TO ODD_OLD");
        tryTo("CREATE TABLE " + table + " (" + all + ", PRIMARY KEY( " +
              (below(2) == 0 ? key.front() : "") + " ))");
        tryTo("CREATE TABLE " + table + " (" + all + ")");
        m_db.mustRun("INSERT INTO " + table + " (" + shared + ") SELECT " + shared +
                     " FROM ODD_OLD; DROP TABLE ODD_OLD");
        m_story += "; " + table + " (" + all.substr(0, 200) + ")";
    }

    /// Rows that a key refuses are left out.
    void fill(const std::string& table) {
        const auto columns = columnsOf(m_db, table);
        for (auto left = below(table == "GENERAL_CONFIG" ? 15 : 6); left > 0; --left) {
            std::string row;
            for (const std::string& column : columns) {
                row += (row.empty() ? "" : ", ") + cell(column, table == "CALL_LOG");
            }
            tryTo("INSERT INTO " + table + " VALUES (" + row + ")");
        }
    }

    std::string cell(const std::string& column, bool isCall) {
        for (const auto& known : KnownCells) {
            if (column.find(known.column) == 0) {
                const char* const value = oneOf(known.values);
                return value == nullptr ? "NULL" : *value == '*' ? ownValue(isCall) : quoted(value);
            }
        }
        return below(12) == 0 ? "NULL" : ownValue(isCall);
    }

    static std::string quoted(const std::string& value) { return "'" + value + "'"; }

    /// Kept on purpose: a row of calls with a quote or a NUL byte may add rows at each start. So
    /// calls have no such value.
    std::string ownValue(bool isCall) {
        const std::string number = std::to_string(++m_values);
        const std::string plain = "v" + number + "v";
        const std::string odd[] = {
            plain + "\nline, \"two\"",       plain + "\\",
            " <" + plain + "> &amp; ",       "+49 " + plain,
            "#" + plain + ",,\\,\r\n",       std::to_string(9223372036854000000 + m_values),
            number + "00000000000000000000", plain + std::string(3000, 'x'),
            plain + " O''Neil; DROP",        plain + "' || char(0) || 'z"};
        return quoted(below(3) > 0 ? plain : odd[below(std::size(odd) - (isCall ? 2 : 0))]);
    }

    const Sql& m_db;
    std::mt19937& m_random;
    std::string m_story;
    long m_values = 0;
};

}  // namespace

std::vector<std::string> columnsOf(const Sql& db, const std::string& table,
                                   const std::string& schema) {
    return db.texts("SELECT name FROM pragma_table_info('" + table + "', '" + schema + "')");
}

std::string makeOddDatabase(const Sql& db, const std::vector<std::string>& today,
                            std::mt19937& random) {
    return Maker(db, random).make(today);
}
