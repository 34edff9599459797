// Exports and imports of tables, by the objects that own the tables.

#include <algorithm>
#include <iterator>

#include "ClientUtils.h"
#include "Log.h"
#include "dao/CsvFile.h"
#include "dao/DataAccessObject.h"
#include "dao/SecretCells.h"
#include "database/AdapterGuards.h"
#include "database/DatabaseAdapter.h"

namespace {

/// Lines for these tables may be short: files of older versions have fewer columns.
bool isFilledUp(const std::string& table) {
    return table.find(DASUtilsStrings::PhoneBookTableName) != std::string::npos ||
           table.find(DASUtilsStrings::CallLogTableName) != std::string::npos;
}

/// Refused rows are only logged; the import still succeeds.
void logRefused(std::size_t rows, const std::string& path) {
    if (rows > 0) {
        DAS_LOG(2, "%s: %zu of its rows were not stored", path.c_str(), rows);
    }
}

/// Logs whether a file was opened, and returns it.
bool logOpened(const CsvReader& file, const std::string& path) {
    DAS_LOG(5, "Opening %s", path.c_str());
    if (!file.isOpen()) {
        DAS_LOG(5, "error opening %s", path.c_str());
    }
    return file.isOpen();
}

bool writeHeader(DatabaseAdapter& adapter, const std::string& table, const std::string& version,
                 CsvWriter& file) {
    file.writeLine("#$VERSION=" + version);
    std::vector<std::string> names;
    if (adapter.getColumnNames(table, names) != 1) {
        return false;
    }
    file.writeLine("#$COLUMNS=" + ClientUtils::join(names, ","));
    return true;
}

}  // namespace

bool DataAccessObject::exportTable(const std::string& table, const std::string& path,
                                   PairList& conditions, std::string& version) {
    DAS_LOG(5, "exporting to %s", path.c_str());
    CsvWriter file(path);
    if (!file.isOpen()) {
        DAS_LOG(2, "Cannot open %s for writing", path.c_str());
        return false;
    }
    Rows rows;
    const SecretCells secrets(*m_dbAdapter, table);
    bool needsHeader = !version.empty();
    const auto read = [&] { return DASUtils::readRows(*m_dbAdapter, table, {}, conditions, rows); };
    // The header is written with the first rows, so a table without rows leaves an empty file,
    // which an import reads as no rows. It would read a header alone as a row.
    const auto write = [&](Rows& piece) {
        if (needsHeader && !writeHeader(*m_dbAdapter, table, version, file)) {
            return false;
        }
        needsHeader = false;
        for (auto& row : piece) {
            secrets.hide(row);
            file.writeRow(row);
        }
        piece.clear();
        return true;
    };
    if (!secrets.areKnown() || readInPieces(*m_dbAdapter, rows, read, write) != 0) {
        DAS_LOG(2, "Table %s is not written to %s", table.c_str(), path.c_str());
        return false;
    }
    return file.finish();
}

bool DataAccessObject::importTable(const std::string& table, std::vector<std::string>& columns,
                                   const std::string& path) {
    DAS_LOG(5, "Importing %s to %s", path.c_str(), table.c_str());
    CsvReader file(path, CsvReader::Comments::AreSkipped);
    if (!file.isOpen()) {
        DAS_LOG(5, "error opening %s", path.c_str());
        return false;
    }
    TransactionGuard transaction(*m_dbAdapter, TransactionGuard::Locks::AtOnce);
    if (transaction.beginResult() != 0) {
        return false;
    }
    // A failed row is logged; the others are stored.
    (void)file.forEachRow([&](auto& fields) { return updateItemInTable(table, columns, fields); });
    return transaction.end() == 0;
}

bool DataAccessObject::migrateTable(const std::string& table, PairList& columnDefinitions,
                                    const std::string& /*path*/) {
    const auto create = [&] { return createTable2(table, columnDefinitions); };
    return DASUtils::rebuildTable(*m_dbAdapter, table, create,
                                  "Cannot drop the table that is rebuilt");
}

bool DataAccessObject::getMetadata(const std::string& path, std::string& version,
                                   std::vector<std::string>& columns, int& count) {
    DAS_LOG(5, "Reading metadata from %s", path.c_str());
    count = 0;
    version.clear();
    columns.clear();
    CsvReader file(path);
    std::string line;
    if (!file.isOpen()) {
        DAS_LOG(5, "error opening %s", path.c_str());
        return false;
    }
    if (!file.readLine(line)) {
        DAS_LOG(5, "%s is empty", path.c_str());
        return false;
    }
    if (!DASUtils::getVersion(line, version)) {
        std::vector<std::string> fields;
        ClientUtils::splitString(line, fields);
        count = static_cast<int>(fields.size());
        return false;
    }
    if (!file.readLine(line)) {
        DAS_LOG(2, "Column names missing from %s", path.c_str());
        return false;
    }
    if (!DASUtils::getColumnNames(line, columns)) {
        DAS_LOG(2, "Invalid column names in %s", path.c_str());
        return false;
    }
    count = static_cast<int>(columns.size());
    return true;
}

CsvReader DataAccessObject::openImport(const std::string& location) const {
    if (m_textImport != nullptr) {
        return CsvReader(location, m_textImport->text);
    }
    return CsvReader(location);
}

void DataAccessObject::storeRows(CsvReader& file, const std::string& location,
                                 const std::function<int(std::vector<std::string>&)>& store) {
    const std::size_t refused = file.forEachRow(store);
    logRefused(refused, location);
    DAS_LOG(5, "Scanning complete");
    if (m_textImport != nullptr) {
        m_textImport->rows += file.rows();
        m_textImport->refused += refused;
    }
}

bool DataAccessObject::importDataFromFile(std::string table, std::vector<std::string>& columns,
                                          std::string& path) {
    CsvReader file = openImport(path);
    if (!logOpened(file, path)) {
        return false;
    }
    DAS_LOG(5, "Scanning file...");
    // Files of older software have fewer columns, and new ones were always added at the end.
    const int columnCount = m_dbAdapter->getColumnCount("SELECT * FROM " + table + ";");
    const std::size_t padded = isFilledUp(table) ? static_cast<std::size_t>(columnCount) : 0;
    TransactionGuard transaction(*m_dbAdapter, TransactionGuard::Locks::AtOnce);
    if (transaction.beginResult() != 0) {
        return false;
    }
    storeRows(file, path, [&](auto& fields) {
        if (fields.size() < padded) {
            DAS_LOG(6, "%s data columnCount issue. parseResults.size()=%d numColumns=%d",
                    table.c_str(), static_cast<int>(fields.size()), columnCount);
            fields.resize(padded);
        }
        return updateItemInTable(table, columns, fields);
    });
    return transaction.end() == 0;
}

bool DataAccessObject::hasColumn(const std::string& name) const {
    const auto& all = columns();
    return std::any_of(all.begin(), all.end(),
                       [&](const auto& column) { return column.name == name; });
}

void DataAccessObject::buildColumnNameList(PairList& names) {
    if (m_layout->hasDataFiles) {
        names = namesAndTypes();
    } else {
        DAS_LOG(2, "ERROR buildColumnNameList called in base class!!! ");
    }
}

int DataAccessObject::exportData(PairList& conditions, std::string& location) {
    if (!m_layout->hasDataFiles) {
        return 0;
    }
    PairList known;
    // The condition is usually the user. A table of the telephone has no column for the user, and
    // all its rows belong to the telephone.
    std::copy_if(conditions.begin(), conditions.end(), std::back_inserter(known),
                 [this](const auto& condition) { return hasColumn(condition.first); });
    const bool written =
        DASUtils::readAllItemsFromTableAndWriteToFile(m_dbAdapter, m_tableName, location, known);
    return written ? 0 : 1;
}

int DataAccessObject::importData(std::string& location) {
    if (!m_layout->hasDataFiles) {
        return 0;
    }
    std::vector<std::string> names;
    return prepareImport(names) && importDataFromFile(m_tableName, names, location) ? 0 : 1;
}

bool DataAccessObject::prepareImport(std::vector<std::string>& names) {
    if (DASUtils::makeTableWithoutRows(*this, *m_dbAdapter, m_tableName) !=
        DASUtils::TableState::Ready) {
        return false;  // the file's rows would prevent the default rows from ever being inserted
    }
    if (hasColumn(DASUtilsStrings::UserContextTagName) && !defaultRowIds().empty()) {
        // Rows of a file only update existing rows, and a start in base deletes the visitor's rows.
        (void)insertDefaultRows(true);
    }
    return DASUtils::createColumnNameListFromDbFile(m_dbAdapter, m_tableName, names);
}

int DataAccessObject::importDataForUser(const std::string& location, eUserCategory category) {
    if (!m_layout->hasDataFiles || !hasColumn(DASUtilsStrings::UserContextTagName)) {
        return 0;
    }
    const std::string& user = category == eUserCategory::visitor
                                  ? DASUtilsStrings::UserContextVisitor
                                  : DASUtilsStrings::UserContextBase;
    std::vector<std::string> names;
    if (!prepareImport(names)) {
        return 1;
    }
    const auto store = [&](std::vector<std::string>& fields) {
        fields.at(0) = user;
        return updateItemInTable(m_tableName, names, fields);
    };
    return importRowsOfUser(location, store, [&] {
        (void)initialiseMobilityUserData(user);  // returns a failure if the table has no rows
    });
}

int DataAccessObject::importRowsOfUser(const std::string& location,
                                       const std::function<int(std::vector<std::string>&)>& store,
                                       const std::function<void()>& prepare) {
    CsvReader file = openImport(location);
    if (!logOpened(file, location)) {
        return 1;
    }
    const auto import = [&] {
        if (prepare) {
            prepare();
        }
        storeRows(file, location, store);
        return true;
    };
    return runWholeOrNot(*m_dbAdapter, import, TransactionGuard::Locks::AtOnce) ? 0 : 1;
}

int DataAccessObject::replaceRowsOfUser(
    const std::string& context, const std::string& location,
    const std::function<int(std::vector<std::string>&)>& store) {
    CsvReader file = openImport(location);
    if (!file.isOpen() && !file.isMissing()) {
        (void)logOpened(file, location);
        return 1;
    }
    const auto replace = [&] {
        (void)deleteContextData(context);  // returns a failure if there is nothing to delete
        if (logOpened(file, location)) {
            storeRows(file, location, store);
        }
        return true;  // kept on purpose: management empties a user's table by a missing file
    };
    return runWholeOrNot(*m_dbAdapter, replace, TransactionGuard::Locks::AtOnce) && file.isOpen()
               ? 0
               : 1;
}

int DataAccessObject::insertLineOfFile(const std::string& table,
                                       const std::vector<std::string>& names,
                                       const std::vector<std::string>& values,
                                       const AssignedNumbers::Key& key) {
    std::vector<std::string> row;
    row.reserve(values.size());
    for (std::size_t i = 0; i < values.size(); ++i) {
        const bool isNumber = i < names.size() && names[i] == key.column;
        const std::string value = ClientUtils::unescapeXMLString(values[i]);
        row.push_back(isNumber ? AssignedNumbers::ofFile(*m_dbAdapter, key, value)
                               : DASUtils::escapeAndQuote(value));
    }
    const int result = m_dbAdapter->insertRow(table, names, row, nullptr);
    if (result != 0) {
        DAS_LOG(2, "updateItemInTablemIn = insert failed");
    }
    return result;
}
