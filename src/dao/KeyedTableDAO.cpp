// Tables whose rows have a key. A write replaces the row of its key, so rows need not be looked up
// first. Each statement changes one row, so the row's key is noted for listeners to changes.

#include "dao/KeyedTableDAO.h"

#include <algorithm>

#include "ClientUtils.h"
#include "database/AdapterGuards.h"
#include "database/ChangeScope.h"
#include "database/DatabaseAdapter.h"

namespace {

using namespace DASUtilsStrings;

const std::string RankOrder = "ASC";

KeyedTableDAO& self(void* dao) {
    return static_cast<KeyedTableDAO&>(*static_cast<DataAccessObject*>(dao));
}

/// These tables live as long as the process, so the pointer needs no reference count.
std::shared_ptr<const TableLayout> withoutOwner(const TableLayout& layout) {
    return {std::shared_ptr<const TableLayout>(), &layout};
}

/// The value that a request sets for a column. If it is sent several times, the last counts, as in
/// an update. Blank if it is not sent.
const std::string& valueOf(const PairList& newValues, const std::string& column) {
    const auto found = std::find_if(newValues.rbegin(), newValues.rend(),
                                    [&](const auto& pair) { return pair.first == column; });
    return found != newValues.rend() ? found->second : EmptyDBString;
}

}  // namespace

void KeyedTableDAOXmlStartElement(void* dao, const char* name, const char** attributes) {
    self(dao).startElement(name, attributes);
}

void KeyedTableDAOXmlEndElement(void* dao, const char* name) {
    self(dao).XmlEndElement(name);
}

void KeyedTableDAOXmlCharacterDataHandler(void* dao, const char* text, int length) {
    self(dao).XmlCharacterDataHandler(text, length);
}

const DataAccessObject::Operation<KeyedTableDAO> KeyedTableDAO::Operations[4] = {
    {&WriteRequest, &KeyedTableDAO::writeRequest, &WriteResponse},
    {&UpdateRequest, &KeyedTableDAO::updateRequest, &UpdateResponse},
    {&ReadRequest, &KeyedTableDAO::readRequest, &ReadResponse},
    {&DeleteRequest, &KeyedTableDAO::deleteRequest, &DeleteResponse}};

KeyedTableDAO::KeyedTableDAO(DatabaseAdapter* adapter, const KeyedTable& table)
    : DataAccessObject(adapter, withoutOwner(table.layout)), m_table(&table) {}

void KeyedTableDAO::useTable(const KeyedTable& table) {
    m_table = &table;
    m_layout = withoutOwner(table.layout);
    m_tableName = table.layout.table;
    m_schemaName = table.layout.schema;
}

bool KeyedTableDAO::isOfUser() const {
    return columns().front().name == UserContextTagName;
}

const DASUtils::ColumnInfo& KeyedTableDAO::keyColumn() const {
    return columns().at(isOfUser() ? 1 : 0);
}

bool KeyedTableDAO::makesKeys() const {
    return keyColumn().type.find("AUTOINCREMENT") != std::string::npos;
}

// Requests -------------------------------------------------------------------------------------

void KeyedTableDAO::startElement(const char* name, const char** attributes) {
    XmlStartElement(name, attributes);
    if (name == keyColumn().name || name == IdTagName) {
        m_currentElement = IdTagName;
    }
}

void KeyedTableDAO::handleRequest(const char* text, int length) {
    m_rowsToWrite.clear();
    m_rowId.clear();
    if (!parseRequest(text, length, m_table->parser)) {
        return;
    }
    const DASUtils::TableState state = checkTable();
    if ((settleUser() || !isOfUser()) && mayServe(state)) {
        serve();
    }
}

void KeyedTableDAO::serve() {
    const auto& served = m_table->reasons;
    if (std::any_of(served.begin(), served.end(),
                    [this](const std::string* reason) { return *reason == m_reason; })) {
        dispatch(*this, Operations);
    } else {
        DASUtils::logUnknownReason(m_reason, served);
    }
}

DASUtils::TableState KeyedTableDAO::checkTable() {
    if (!defaultRowIds().empty()) {
        return DASUtils::makeTableWithoutRows(*this, *m_dbAdapter, m_tableName);
    }
    (void)createMissingTable();  // a failure is logged, and the failure of the request as well
    return DASUtils::TableState::Ready;
}

PairList KeyedTableDAO::rowConditions(const std::string& identifier) const {
    PairList conditions;
    if (isOfUser()) {
        conditions.emplace_back(UserContextTagName, DASUtils::convertToDBFormat(m_responseUser));
    }
    if (!identifier.empty()) {
        conditions.emplace_back(keyColumn().name, DASUtils::convertToDBFormat(identifier));
    }
    return conditions;
}

/// Values outside of entries are one more row. A single row needs no transaction of its own, since
/// SQLite runs each statement in one.
int KeyedTableDAO::forEachRow(RowOperation operation) {
    if (m_rowsToWrite.empty()) {
        return (this->*operation)({m_rowId, m_newValues});
    }
    if (m_rowsToWrite.size() == 1) {
        return (this->*operation)(m_rowsToWrite.front());
    }
    return forEachEntry(m_rowsToWrite.size(),
                        [&](std::size_t i) { return (this->*operation)(m_rowsToWrite[i]); });
}

int KeyedTableDAO::writeRequest() {
    return forEachRow(&KeyedTableDAO::writeRow);
}

int KeyedTableDAO::updateRequest() {
    return forEachRow(&KeyedTableDAO::updateRow);
}

int KeyedTableDAO::deleteRequest() {
    return forEachRow(&KeyedTableDAO::deleteRow);
}

int KeyedTableDAO::writeRow(const DASUtils::RowData& row) {
    if (row.identifier.empty() && !makesKeys()) {
        return 1;
    }
    const std::string key =
        row.identifier.empty() ? "NULL" : DASUtils::convertToDBFormat(row.identifier);
    if (makesKeys() &&
        !AssignedNumbers::mayBeStored(*m_dbAdapter, {m_tableName, keyColumn().name}, key)) {
        return 1;
    }
    PairList given = row.newValues;
    given.emplace_back(UserContextTagName, DASUtils::convertToDBFormat(m_responseUser));
    given.emplace_back(keyColumn().name, key);
    std::vector<std::string> values;
    values.reserve(columns().size());
    for (const auto& column : columns()) {
        values.push_back(valueOf(given, column.name));
    }
    long long number = 0;
    const int result = m_dbAdapter->insert(m_tableName, values, &number);
    if (row.identifier.empty()) {
        ChangeScope::noteNumber(*m_dbAdapter, number, userOfRows());
    } else {
        noteChanged(row.identifier);
    }
    return result;
}

const std::string& KeyedTableDAO::userOfRows() const {
    static const std::string telephone;
    return isOfUser() ? m_responseUser : telephone;
}

/// A number is noted as it is stored, not as it was sent.
void KeyedTableDAO::noteChanged(const std::string& identifier) {
    if (makesKeys()) {
        ChangeScope::noteNumber(*m_dbAdapter, identifier, userOfRows());
    } else {
        ChangeScope::noteRow(*m_dbAdapter, identifier, userOfRows());
    }
}

int KeyedTableDAO::updateRow(const DASUtils::RowData& row) {
    if (row.identifier.empty()) {
        return 1;
    }
    PairList conditions = rowConditions(row.identifier);
    PairList newValues = row.newValues;
    const int result = m_dbAdapter->update(m_tableName, conditions, newValues, false);
    noteChanged(row.identifier);
    return result;
}

int KeyedTableDAO::deleteRow(const DASUtils::RowData& row) {
    const bool hasColumns = m_table->deletesByColumns && !row.newValues.empty();
    if (row.identifier.empty() && !hasColumns) {
        return 1;
    }
    PairList conditions = rowConditions(row.identifier);
    if (hasColumns) {
        conditions.insert(conditions.end(), row.newValues.begin(), row.newValues.end());
    }
    const int result = m_dbAdapter->deleteRow(m_tableName, conditions);
    noteChanged(row.identifier);
    return result;
}

int KeyedTableDAO::readRequest() {
    PairList conditions = m_newValues;
    for (auto& condition : rowConditions(m_rowId)) {
        conditions.push_back(std::move(condition));
    }
    return readRows(conditions);
}

int KeyedTableDAO::readRows(const PairList& conditions) {
    m_resultColumns = ClientUtils::tokenizeString(m_resultColsText, " ", false, false);
    if (!DASUtils::areResultColumns(m_resultColumns)) {
        return 1;
    }
    if (m_resultColumns.size() == 1 && m_resultColumns.front() == m_tableName + ".*") {
        m_resultColumns.clear();
    }
    // All columns are named in the statement, so a table with other columns refuses the read.
    std::vector<std::string> asked = m_resultColumns;
    if (asked.empty()) {
        for (const auto& column : columns()) {
            if (column.name != UserContextTagName) {
                asked.push_back(column.name);
            }
        }
    }
    PairList orderBy;
    if (!m_table->rankColumn.empty()) {
        orderBy.emplace_back(m_table->rankColumn, RankOrder);
    }
    const auto read = [&] {
        return m_dbAdapter->executeQuery(m_tableName, asked, conditions, orderBy, m_resultRows, "",
                                         "");
    };
    return readEntries(read, shownColumns(), m_layout->skipFirstColumn);
}

int KeyedTableDAO::getRowCount(std::string& count) {
    if (getDatabaseAdapter() == nullptr) {
        return 1;
    }
    return DASUtils::getRowCount(*m_dbAdapter, m_tableName, count);
}

// Default rows and rows of files ---------------------------------------------------------------

int KeyedTableDAO::insertDefaultRows() {
    return insertDefaultRowsFrom(0, false);
}

int KeyedTableDAO::insertDefaultRows(bool onlyMissing) {
    return insertDefaultRowsFrom(0, onlyMissing);
}

int KeyedTableDAO::insertDefaultRows(const std::string&) {
    return 0;
}

int KeyedTableDAO::findRow(const std::string& key, bool& isThere) {
    PairList conditions = {{keyColumn().name, DASUtils::escapeAndQuote(key)}};
    std::string count;
    const int result = m_dbAdapter->countRows(m_tableName, conditions, count);
    isThere = count != "0";
    return result;
}

std::vector<std::string> KeyedTableDAO::defaultRow(std::size_t index) const {
    std::vector<std::string> values;
    values.reserve(columns().size());
    for (const auto& column : columns()) {
        const auto& defaults = column.defaults;
        const std::string& value = &column == &keyColumn()
                                       ? defaultRowIds()[index]
                                       : defaults.at(defaults.size() < 2 ? 0 : index);
        values.push_back(DASUtils::escapeAndQuote(value));
    }
    return values;
}

int KeyedTableDAO::insertDefaultRowsFrom(std::size_t first, bool onlyMissing) {
    int result = 0;
    const auto insertAll = [&] {
        result = insertRowsFrom(first, onlyMissing);
        return result == 0;
    };
    // A table with some of its rows counts as complete: only an empty one is filled later.
    const bool stored = runWholeOrNot(*m_dbAdapter, insertAll, TransactionGuard::Locks::AtOnce);
    return result == 0 && !stored ? 1 : result;
}

int KeyedTableDAO::insertRowsFrom(std::size_t first, bool onlyMissing) {
    int result = 0;
    for (std::size_t index = first; result == 0 && index < defaultRowIds().size(); ++index) {
        bool isThere = false;
        result = onlyMissing ? findRow(defaultRowIds()[index], isThere) : 0;
        if (result == 0 && !isThere) {
            std::vector<std::string> values = defaultRow(index);
            result = m_dbAdapter->insert(m_tableName, values, nullptr);
        }
    }
    return result;
}

int KeyedTableDAO::updateItemInTable(const std::string& table, std::vector<std::string>& names,
                                     std::vector<std::string>& values) {
    if (getDatabaseAdapter() == nullptr) {
        return 1;
    }
    std::vector<std::string> row;
    row.reserve(names.size());
    for (std::size_t i = 0; i < names.size(); ++i) {
        const bool isNumber = makesKeys() && names[i] == keyColumn().name;
        row.push_back(isNumber
                          ? AssignedNumbers::ofFile(*m_dbAdapter, {table, names[i]}, values.at(i))
                          : DASUtils::escapeAndQuote(values.at(i)));
    }
    return m_dbAdapter->insert(table, row, nullptr);
}
