#include "OddDatabase.h"

#include <algorithm>
#include <fstream>
#include <iterator>

#include "FullDatabase.h"

namespace {

/// Cells that steps read, by the beginning of the column's name. "*" is a value of its own, "#" a
/// number of its own, "=" the cell of the row above; the others stand as they are.
const struct {
    std::string column;
    std::vector<const char*> values;
} KnownCells[] = {
    {"UserContext", {"base", "base", "base", "base", "visitor", "visitor", "", nullptr, "other"}},
    {"UniqueI", {"#", "#", "#", "#", "=", "*", nullptr, "-3", "9223372036854775807", "007"}},
    {"Id", {"1", "2", "10", "30", "31", "32", "39", "100", "109", "200", "617", "618", "1017"}},
    {"CallGroupName", {"*"}},
    {"CallGroup", {"1", "2", "7", "16", "=", "*"}},
    {"FileType", {"0", "1", "5", "8", "9", "=", "*"}},
    {"Schema", {"AudioSettings", "TransportSettings", "AcmsSettings", "#It's, a\\", ""}},
    {"Name", {"*", "*", "*", "*", "*", "=", "WbmAllowed", "TransactionTimer"}},
    {"Function", {"*", "*", "*", "0", ""}},
    {"Rank", {"1", "2", "3", "*"}},
    {"TimeDate", {"2014-03-07T09:15:10+01:00", "2014-03-08T10:15:10Z", "*", ""}},
};

const char* const OlderTable =
    "CREATE TABLE IF NOT EXISTS FILEDOWNLOAD_SETTINGS (FileType, UseDefaults, DownloadMethod, "
    "ServerAddress, ServerPort, FtpAccount, FtpUsername, FtpPassword, FtpPath, Filename, "
    "HttpsBaseUrl, LastDownload, LastStatus)";

std::string textOf(const std::string& form) {
    std::ifstream file(DAS_DATABASES_DIR "/" + form + ".sql", std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

}  // namespace

OddDatabase::OddDatabase(const std::string& file) : m_db(nullptr, sqlite3_close) {
    sqlite3* db = nullptr;
    sqlite3_open(file.c_str(), &db);
    m_db.reset(db);
}

OddTable OddDatabase::select(const std::string& query, const OddTable::Row& values) const {
    OddTable table;
    sqlite3_stmt* statement = nullptr;
    sqlite3_prepare_v2(m_db.get(), query.c_str(), -1, &statement, nullptr);
    for (std::size_t i = 0; i < values.size(); ++i) {
        if (values[i].has_value()) {
            sqlite3_bind_text(statement, static_cast<int>(i) + 1, values[i]->data(),
                              static_cast<int>(values[i]->size()), SQLITE_STATIC);
        }
    }
    const int columns = sqlite3_column_count(statement);
    for (int i = 0; i < columns; ++i) {
        table.columns.emplace_back(sqlite3_column_name(statement, i));
    }
    while (sqlite3_step(statement) == SQLITE_ROW) {
        auto& row = table.rows.emplace_back(table.columns.size());
        for (int i = 0; i < columns; ++i) {
            if (const void* const text = sqlite3_column_text(statement, i); text != nullptr) {
                row[static_cast<std::size_t>(i)].emplace(static_cast<const char*>(text),
                                                         sqlite3_column_bytes(statement, i));
            }
        }
    }
    sqlite3_finalize(statement);
    return table;
}

std::map<std::string, OddTable> OddDatabase::tables() const {
    std::map<std::string, OddTable> all;
    for (const std::string& name : tableNames()) {
        all[name] = select("SELECT * FROM " + name);
    }
    all["sqlite_master"] = select("SELECT type, name, sql FROM sqlite_master");
    return all;
}

std::vector<std::string> OddDatabase::columnsOf(const std::string& table) const {
    return FullDatabase::texts(m_db.get(), "SELECT name FROM pragma_table_info('" + table + "')");
}

std::vector<std::string> OddDatabase::tableNames() const {
    return FullDatabase::texts(m_db.get(),
                               "SELECT name FROM sqlite_master WHERE type = 'table' AND name NOT "
                               "LIKE 'sqlite%' ORDER BY name");
}

void OddDatabase::run(const std::string& sql) {
    FullDatabase::execute(m_db.get(), sql);
}

std::string OddDatabase::make(const OddTable& today, std::mt19937& random) {
    m_random = &random;
    run("PRAGMA synchronous=OFF; PRAGMA journal_mode=OFF");
    makeTables(today);
    for (const std::string& table : tableNames()) {
        if (below(5) == 0) {
            mutilate(table);
        }
    }
    const std::string table = oneOf(tableNames());
    const std::string neighbours[] = {"CREATE VIEW ODD AS SELECT * FROM " + table,
                                      "CREATE VIEW ODD AS SELECT * FROM NOWHERE",
                                      "CREATE TABLE " + table + "_MIGRATION (Stale TEXT)",
                                      "CREATE TABLE ODD (UserContext TEXT, Id TEXT, Value BLOB)"};
    const std::string neighbour = oneOf(neighbours);
    run(neighbour);
    for (const std::string& each : tableNames()) {
        fill(each);
    }
    return m_story + "; " + neighbour;
}

void OddDatabase::makeTables(const OddTable& today) {
    m_story = oneOf(FullDatabase::forms());
    const std::string text = textOf(m_story);
    const bool hasSettings = text.find("GENERAL_CONFIG") != std::string::npos;
    run((hasSettings ? "" : textOf("settings_of_today")) + text);
    run("DELETE FROM GENERAL_CONFIG WHERE Schema = 'TransportSettings' AND length(Name) % " +
        std::to_string(1 + below(4)) + " > 0");
    for (const auto& row : today.rows) {
        const bool isOwn = row[0] == "table" && row[1]->find("sqlite_") != 0;
        if (isOwn && columnsOf(*row[1]).empty() && below(6) > 0) {
            run(*row[2]);
        }
    }
    run(below(3) == 0 ? OlderTable : "");
}

/// Makes the table anew with other columns. Its rows stay, if a key that is cut off admits them.
void OddDatabase::mutilate(const std::string& table) {
    auto columns = select("SELECT name, type, pk FROM pragma_table_info('" + table + "')").rows;
    const auto somewhere = [&] {
        return columns.begin() + static_cast<long>(below(columns.size()));
    };
    // Kept: without all its columns this one ends the upgrade.
    const auto number = table == "FORWARDING_KEY_DESTINATIONS" ? 2 : below(5);
    if (number == 0 && columns.size() > 1) {
        columns.erase(somewhere());
    } else if (number == 1) {
        columns.erase(somewhere() + 1, columns.end());
    } else if (number == 2) {
        columns.insert(somewhere(), {"Odd_" + table, "TEXT", "0"});
    }
    if (const auto order = below(4); order == 0) {
        std::rotate(somewhere(), columns.end() - 1, columns.end());
    } else if (order == 1) {
        std::shuffle(columns.begin(), columns.end(), *m_random);
    }
    if (below(3) == 0) {
        const char* const affinities[] = {"INTEGER", "NUMERIC", "BLOB", ""};
        (*somewhere())[1] = oneOf(affinities);
    }
    std::string all;
    std::string key;
    std::string shared = "rowid";
    for (const auto& column : columns) {
        all += (all.empty() ? "" : ", ") + *column[0] + " " + *column[1];
        key += column[2] == "0" ? "" : (key.empty() ? "" : ", ") + *column[0];
        shared += column[0]->find("Odd_") == 0 ? "" : ", " + *column[0];
    }
    all += key.empty() || below(2) == 0 ? "" : ", PRIMARY KEY( " + key + " )";
    run("ALTER TABLE " + table + " RENAME TO ODD_OLD; CREATE TABLE " + table + " (" + all +
        "); INSERT OR IGNORE INTO " + table + " (" + shared + ") SELECT " + shared +
        " FROM ODD_OLD; DROP TABLE ODD_OLD");
    m_story += "; " + table + " (" + all.substr(0, 200) + ")";
}

/// Rows that a key refuses are left out.
void OddDatabase::fill(const std::string& table) {
    const auto columns = columnsOf(table);
    std::string sql = "INSERT OR IGNORE INTO " + table + " VALUES (?";
    for (std::size_t i = 1; i < columns.size(); ++i) {
        sql += ", ?";
    }
    OddTable::Row row(columns.size());
    for (auto left = below(table == "GENERAL_CONFIG" ? 15 : 6); left > 0; --left) {
        for (std::size_t i = 0; i < columns.size(); ++i) {
            row[i] = cell(columns[i], row[i]);
            if (table == "CALL_LOG" && row[i].has_value()) {
                // Kept: what such a row holds of other numbers is added again at each start.
                std::replace(row[i]->begin(), row[i]->end(), '\'', '"');
                std::replace(row[i]->begin(), row[i]->end(), '\0', '"');
            }
        }
        (void)select(sql + ")", row);
    }
}

std::optional<std::string> OddDatabase::cell(const std::string& column,
                                             const std::optional<std::string>& above) {
    for (const auto& known : KnownCells) {
        if (column.find(known.column) == 0) {
            const char* const value = oneOf(known.values);
            switch (value != nullptr ? *value : ' ') {
                case '*':
                    return ownValue();
                case '#':
                    return value[1] == '\0' ? std::to_string(++m_values) : value;
                case '=':
                    return above;
                default:
                    return value != nullptr ? std::optional<std::string>(value) : std::nullopt;
            }
        }
    }
    return below(12) == 0 ? std::nullopt : std::optional<std::string>(ownValue());
}

std::string OddDatabase::ownValue() {
    const std::string number = std::to_string(++m_values);
    const std::string plain = "v" + number + "v";
    const std::string odd[] = {
        plain + "\nline, \"two\"",       plain + "\\",
        plain + " O'Neil; DROP",         plain + std::string("\0z", 2),
        " <" + plain + "> &amp; ",       "+49 " + plain,
        "#" + plain + ",,\\,\r\n",       std::to_string(9223372036854000000 + m_values),
        number + "00000000000000000000", plain + std::string(3000, 'x')};
    return below(3) == 0 ? oneOf(odd) : plain;
}
