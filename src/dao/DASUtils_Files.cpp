// Exports tables to data files and imports them.

#include <algorithm>
#include <cerrno>

#include "ClientUtils.h"
#include "DASUtilsStrings.h"
#include "Log.h"
#include "Storage.h"
#include "dao/CsvFile.h"
#include "dao/DASUtils.h"
#include "dao/GenConfigDeviceDataItems.h"
#include "dao/SecretCells.h"
#include "database/AdapterGuards.h"
#include "database/DatabaseAdapter.h"

namespace {

const std::string VersionTag = "#$VERSION=";
const std::string ColumnsTag = "#$COLUMNS=";
const std::string NullValue = "NULL";

const std::string SchemaColumn = "Schema";
const std::string NameColumn = "Name";
const std::string ValueColumn = "Value";

bool startsWith(const std::string& text, const std::string& start) {
    return text.compare(0, start.size(), start) == 0;
}

/// Positions of the cells of a row that are written; empty for all.
using Places = std::vector<std::size_t>;

std::vector<std::string> cellsAt(const std::vector<std::string>& row, const Places& places) {
    std::vector<std::string> cells;
    cells.reserve(places.size());
    for (const std::size_t place : places) {
        cells.push_back(row.at(place));
    }
    return cells;
}

bool findPlaces(DatabaseAdapter& adapter, const std::string& table,
                const std::vector<std::string>& columns, Places& places) {
    std::vector<std::string> names;
    if (!columns.empty() && !DASUtils::createColumnNameListFromDbFile(&adapter, table, names)) {
        return false;
    }
    for (const std::string& column : columns) {
        const auto found = std::find(names.begin(), names.end(), column);
        if (found == names.end()) {
            DAS_LOG(2, "No column %s in table %s", column.c_str(), table.c_str());
            return false;
        }
        places.push_back(static_cast<std::size_t>(found - names.begin()));
    }
    return true;
}

/// @p columns is the first line and names the cells to write; if it is empty, all cells are
/// written.
bool writeTable(DatabaseAdapter* adapter, const std::string& table, const std::string& path,
                const PairList& conditions, const std::vector<std::string>& columns) {
    DAS_LOG(5, "Opening %s for writing", path.c_str());
    CsvWriter file(path);
    if (!file.isOpen()) {
        DAS_LOG(5, "error opening %s", path.c_str());
        return false;
    }
    DAS_LOG(5, "Reading table %s", table.c_str());
    Rows rows;
    Places places;
    if (adapter == nullptr || !findPlaces(*adapter, table, columns, places)) {
        return false;
    }
    if (!columns.empty()) {
        file.writeRow(columns);
    }
    const SecretCells secrets(*adapter, table);
    if (!secrets.areKnown()) {
        return false;
    }
    int count = 0;
    const auto read = [&] { return DASUtils::readRows(*adapter, table, {}, conditions, rows); };
    const auto write = [&](Rows& piece) {
        for (auto& row : piece) {
            secrets.hide(row);
            file.writeRow(columns.empty() ? row : cellsAt(row, places));
        }
        count += static_cast<int>(piece.size());
        piece.clear();
        return true;
    };
    if (readInPieces(*adapter, rows, read, write) != 0) {
        return false;
    }
    DAS_LOG(5, "Reading complete - %d items found in table", count);
    return file.finish();
}

bool writeTableOrLog(DatabaseAdapter* adapter, const std::string& table, const std::string& path,
                     const PairList& conditions, const std::vector<std::string>& columns) {
    const bool written = writeTable(adapter, table, path, conditions, columns);
    if (!written) {
        DAS_LOG(2, "Table %s is not written to %s", table.c_str(), path.c_str());
    }
    return written;
}

// Cells of a row of "PRAGMA table_info".
constexpr std::size_t NameCell = 1;
constexpr std::size_t TypeCell = 2;
constexpr std::size_t KeyCell = 5;

/// The column in which the database numbers the rows of @p table; empty if it has none. The column
/// does not accept a blank value.
std::string integerKeyOf(DatabaseAdapter& adapter, const std::string& table) {
    Rows columns;
    if (adapter.executeSQLQuery("PRAGMA table_info(" + table + ");", columns) != 0) {
        return {};
    }
    const auto isOfKey = [](const auto& column) { return column.at(KeyCell) != "0"; };
    const auto key = std::find_if(columns.begin(), columns.end(), isOfKey);
    const bool isSingle = std::count_if(columns.begin(), columns.end(), isOfKey) == 1;
    return isSingle && key->at(TypeCell) == DASUtilsStrings::columnTypeInteger ? key->at(NameCell)
                                                                               : std::string();
}

std::string databaseFormOf(const std::string& field, bool isIntegerKey) {
    return field.empty() && isIntegerKey ? NullValue : DASUtils::escapeAndQuote(field);
}

void logFieldCount(std::size_t fields, std::size_t columns) {
    DAS_LOG(2, "A line of %zu fields for %zu columns is skipped", fields, columns);
}

/// Inserts lines whose fields belong to named columns. Columns that the table does not have are
/// left out.
class RowInserter {
public:
    RowInserter(DatabaseAdapter& adapter, const std::string& table,
                const std::vector<std::string>& names)
        : m_adapter(adapter), m_table(table), m_fieldCount(names.size()) {
        std::vector<std::string> known;
        (void)DASUtils::createColumnNameListFromDbFile(&adapter, table, known);
        const std::string key = integerKeyOf(adapter, table);
        for (std::size_t place = 0; place < names.size(); ++place) {
            const std::string& name = names[place];
            if (DASUtils::columnIsInColumnList(name, known) &&
                !DASUtils::columnIsInColumnList(name, m_columns)) {
                m_columns.push_back(name);
                m_places.push_back(place);
                m_keyPlace = name == key ? place : m_keyPlace;
            }
        }
    }

    int insert(const std::vector<std::string>& fields) const {
        if (m_columns.empty() || fields.size() != m_fieldCount) {
            logFieldCount(fields.size(), m_fieldCount);
            return 1;
        }
        std::vector<std::string> values;
        values.reserve(m_places.size());
        for (const std::size_t place : m_places) {
            values.push_back(databaseFormOf(fields[place], place == m_keyPlace));
        }
        return m_adapter.insertRow(m_table, m_columns, values, nullptr);
    }

private:
    DatabaseAdapter& m_adapter;
    const std::string m_table;
    const std::size_t m_fieldCount;
    std::vector<std::string> m_columns;
    Places m_places;
    std::size_t m_keyPlace = static_cast<std::size_t>(-1);
};

/// Logs whether a file was opened, and returns it.
bool logOpened(const CsvReader& file, const std::string& path) {
    DAS_LOG(5, "Opening %s", path.c_str());
    if (!file.isOpen()) {
        DAS_LOG(5, "error opening %s", path.c_str());
    }
    return file.isOpen();
}

/// False also if a line was not stored.
bool insertRowsOfFile(DatabaseAdapter& adapter, const std::string& table, CsvReader& file,
                      const std::string& path) {
    std::vector<std::string> names;
    if (!file.readFields(names)) {
        DAS_LOG(2, "Column names missing from %s", path.c_str());
        return false;
    }
    const RowInserter inserter(adapter, table, names);
    return file.forEachRow([&](auto& fields) { return inserter.insert(fields); }) == 0;
}

/// Runs @p work as one transaction. It is committed even if @p work returns false.
bool inTransaction(DatabaseAdapter* adapter, const std::function<bool(DatabaseAdapter&)>& work) {
    if (adapter == nullptr) {
        return false;
    }
    TransactionGuard transaction(*adapter);
    const bool worked = transaction.beginResult() == 0 && work(*adapter);
    return transaction.end() == 0 && worked;
}

/// Adds the context to a line of three fields, which does not name one.
void completeSetting(std::vector<std::string>& fields) {
    constexpr std::size_t contextPlace = 1;
    if (fields.size() == 3) {
        const bool isDeviceData = GenConfigDeviceDataItems::isItemDeviceData(fields[0], fields[1]);
        fields.insert(fields.begin() + contextPlace,
                      isDeviceData ? std::string() : DASUtilsStrings::UserContextBase);
    }
}

/// Updates the setting of a line if it exists, else inserts it. A replacing insert would add a
/// second row if the table lacks its key.
int storeSetting(DatabaseAdapter& adapter, const std::string& table,
                 std::vector<std::string>& fields) {
    completeSetting(fields);
    if (fields.size() != 4) {
        DAS_LOG(2, "csv file entry must be 3 or 4 parameters:");
        return 1;
    }
    PairList key = {{SchemaColumn, DASUtils::escapeAndQuote(fields[0])},
                    {DASUtilsStrings::UserContextTagName, DASUtils::escapeAndQuote(fields[1])},
                    {NameColumn, DASUtils::escapeAndQuote(fields[2])}};
    PairList value = {{ValueColumn, DASUtils::escapeAndQuote(fields[3])}};
    const std::string count = DASUtils::countOf(adapter, table, key);
    if (count != "0") {
        return count.empty() ? 1 : adapter.update(table, key, value, true);
    }
    key.push_back(value.front());
    return adapter.insert(table, key, nullptr);
}

int insertValues(DatabaseAdapter& adapter, const std::string& table,
                 const std::vector<std::string>& columns, const std::string& integerKey,
                 const std::vector<std::string>& fields) {
    if (fields.size() != columns.size()) {
        logFieldCount(fields.size(), columns.size());
        return 1;
    }
    PairList values;
    values.reserve(fields.size());
    for (std::size_t i = 0; i < fields.size(); ++i) {
        values.emplace_back(columns[i], databaseFormOf(fields[i], columns[i] == integerKey));
    }
    return adapter.insert(table, values, nullptr);
}

bool areSettings(const std::string& table) {
    return table == DASUtilsStrings::GeneralConfigTableName;
}

CsvReader::Comments commentsFor(const std::string& table) {
    return areSettings(table) ? CsvReader::Comments::AreSkipped : CsvReader::Comments::AreData;
}

/// Returns whether each line of values was stored.
bool storeItems(DatabaseAdapter& adapter, const std::string& table,
                const std::vector<std::string>& columns, CsvReader& file) {
    DAS_LOG(5, "Scanning file...");
    const bool isSettings = areSettings(table);
    const std::string key = isSettings ? std::string() : integerKeyOf(adapter, table);
    const std::size_t failures = file.forEachRow([&](auto& fields) {
        return isSettings ? storeSetting(adapter, table, fields)
                          : insertValues(adapter, table, columns, key, fields);
    });
    DAS_LOG(5, "Scanning complete");
    return failures == 0;
}

}  // namespace

bool DASUtils::getVersion(const std::string& line, std::string& version) {
    version = line;
    if (!startsWith(version, VersionTag)) {
        version.clear();
        return false;
    }
    version.erase(0, VersionTag.size());
    return true;
}

bool DASUtils::getColumnNames(const std::string& line, std::vector<std::string>& columns) {
    if (!startsWith(line, ColumnsTag)) {
        return false;
    }
    ClientUtils::splitString(line.substr(ColumnsTag.size()), columns);
    return true;
}

bool DASUtils::readAllItemsFromTableAndWriteToFile(DatabaseAdapter* adapter,
                                                   const std::string& table,
                                                   const std::string& path,
                                                   const PairList& conditions) {
    return writeTableOrLog(adapter, table, path, conditions, {});
}

void DASUtils::removeDataFile(const std::string& path) {
    const int error = Storage::removeFile(path);
    if (error != 0 && error != ENOENT) {
        DAS_LOG(2, "Error deleting file: %s", path.c_str());
    }
}

bool DASUtils::readFromTableAndWriteToFileWithColumns(DatabaseAdapter* adapter,
                                                      const std::string& table,
                                                      const std::string& path,
                                                      const PairList& conditions,
                                                      const std::vector<std::string>& columns) {
    return writeTableOrLog(adapter, table, path, conditions, columns);
}

bool DASUtils::recreateTableFromFile(DatabaseAdapter* adapter, const std::string& table,
                                     const std::string& path) {
    CsvReader file(path);
    return logOpened(file, path) && inTransaction(adapter, [&](DatabaseAdapter& open) {
               return insertRowsOfFile(open, table, file, path);
           });
}

bool DASUtils::updateItemsInTableWithValuesFromFile(DatabaseAdapter* adapter,
                                                    const std::string& table,
                                                    const std::vector<std::string>& columns,
                                                    const std::string& path) {
    CsvReader file(path, commentsFor(table));
    return logOpened(file, path) && inTransaction(adapter, [&](DatabaseAdapter& open) {
               return storeItems(open, table, columns, file);
           });
}
