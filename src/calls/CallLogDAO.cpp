#include "calls/CallLogDAO.h"

#include <algorithm>
#include <cstring>
#include <iterator>
#include <utility>

#include "ClientUtils.h"
#include "calls/ConversationsDAO.h"
#include "contacts/PhonebookDAO.h"
#include "database/ChangeScope.h"
#include "database/DatabaseAdapter.h"
#include "database/LoggedText.h"
#include "database/Logging.h"

namespace {

using namespace DASUtilsStrings;
using CallLogColumns::Field;
using CallLogColumns::RowColumn;
using CallLogWriter::Kind;

constexpr const char* LogComponent = "DataAccessService";
constexpr const char* LogSource = "./src/CallLogDAO";

/// A schema, and which calls it is about.
struct SchemaRow {
    const std::string* schema;
    Kind kind;
};

const std::string dialledSchema = "CallLogDialledCalls";
const std::string forwardedSchema = "CallLogForwardedCalls";
const std::string missedSchema = "CallLogMissedCalls";
const std::string receivedSchema = "CallLogReceivedCalls";

const SchemaRow Schemas[] = {
    {&dialledSchema, CallLogWriter::Dialled},
    {&forwardedSchema, CallLogWriter::Forwarded},
    {&missedSchema, CallLogWriter::Missed},
    {&receivedSchema, CallLogWriter::Received},
    {&CallLogSchema, CallLogWriter::All},
    {&CallLogAndPhoneBookSchema, CallLogWriter::AllWithContacts},
};

const char* const callElement = "Item";
const char* const listElement = "LogList";

/// Elements that fill a field beside the one of its name.
struct Alias {
    const char* element;
    Field field;
};
constexpr Alias Aliases[] = {{"DeflectNumber", CallLogColumns::AuxiliaryNumber},
                             {"TransferType", CallLogColumns::CompletedElsewhere}};

const std::string rowCountRequestReason = "rowcount_request";
const std::string rowCountResponse = "rowcount_response";

constexpr RequestParser Parser = {CallLogDAOXmlStartElement, CallLogDAOXmlEndElement,
                                  CallLogDAOXmlCharacterDataHandler, LogComponent,
                                  "Parsing a CallLogDAO '%s' request failed."};

const AssignedNumbers::Key NumberKey = {CallLogTableName,
                                        CallLogColumns::name(CallLogColumns::UniqueId)};

constexpr int TableExists = 2;  // result of createTable
/// Fields of a file that was written before calls got more.
constexpr unsigned FieldsOfOlderFile = 98;

// A call is matched to a contact by its newest number alone, in the same user's phone book.
const std::string joinInFrontOfUser =
    "LEFT JOIN PHONE_BOOK ON "
    "( PHONE_BOOK.Office = CALL_LOG.Number0 "
    "        OR "
    "        PHONE_BOOK.Office2 = CALL_LOG.Number0 "
    "        OR "
    "        PHONE_BOOK.Mobile = CALL_LOG.Number0"
    "        OR "
    "        PHONE_BOOK.Private = CALL_LOG.Number0 )"
    "        AND PHONE_BOOK.UserContext = ";
const std::string joinBehindUser = "        AND CALL_LOG.Number0 <> ''";

/// Columns in the order of a data file that begins with the number.
constexpr RowColumn FileColumns[] = {CallLogColumns::UniqueId,    CallLogColumns::EntryId,
                                     CallLogColumns::Firstname,   CallLogColumns::PictureClip,
                                     CallLogColumns::UserContext, CallLogColumns::Category,
                                     CallLogColumns::Surname,     CallLogColumns::Viewed};

CallLogDAO& self(void* dao) {
    return static_cast<CallLogDAO&>(*static_cast<DataAccessObject*>(dao));
}

void append(PairList& columns, const PairList& more) {
    columns.insert(columns.end(), more.begin(), more.end());
}

void appendNames(std::vector<std::string>& names, const PairList& columns) {
    for (const auto& column : columns) {
        names.push_back(column.first);
    }
}

std::string inCallLog(const std::string& column) {
    return CallLogTableName + "." + column;
}

/// Appends the columns of the calls at the places from @p firstPlace on, call by call.
void appendFieldNames(std::vector<std::string>& names, std::size_t firstPlace,
                      std::size_t behindLast) {
    for (std::size_t place = firstPlace; place < behindLast; ++place) {
        for (std::size_t field = 0; field < CallLogColumns::FieldCount; ++field) {
            names.push_back(CallLogColumns::name(static_cast<Field>(field), place));
        }
    }
}

/// The table without its defaults: a column that a rebuild adds is blank.
const std::shared_ptr<const TableLayout>& layout() {
    static const auto shared = [] {
        TableLayout table;
        table.schema = CallLogSchema;
        table.table = CallLogTableName;
        for (const PairList* part :
             {&CallLogColumns::entryColumns(), &CallLogColumns::itemColumns(),
              &CallLogColumns::extraColumns()}) {
            for (const auto& [name, type] : *part) {
                table.columns.emplace_back(name, type, std::string());
            }
        }
        return std::make_shared<const TableLayout>(std::move(table));
    }();
    return shared;
}

}  // namespace

void CallLogDAOXmlStartElement(void* dao, const char* name, const char** attributes) {
    self(dao).startElement(name, attributes);
}

void CallLogDAOXmlEndElement(void* dao, const char* name) {
    self(dao).endElement(name);
}

void CallLogDAOXmlCharacterDataHandler(void* dao, const char* text, int length) {
    self(dao).characters(text, length);
}

CallLogDAO::CallLogDAO(DatabaseAdapter* adapter)
    : DataAccessObject(adapter, layout()),
      m_request(requestElements(), m_schemaName, m_requestContext, m_reason, m_limits) {}

CallLogDAO::~CallLogDAO() = default;

std::vector<std::string> CallLogDAO::schemas() {
    std::vector<std::string> names;
    for (const SchemaRow& row : Schemas) {
        names.push_back(*row.schema);
    }
    return names;
}

const std::vector<std::string>& CallLogDAO::requestElements() {
    static const std::vector<std::string> elements = [] {
        std::vector<std::string> all;
        for (const RowColumn column : EntryColumns) {
            all.push_back(CallLogColumns::element(column));
        }
        for (std::size_t field = 0; field < CallLogColumns::FieldCount; ++field) {
            all.push_back(CallLogColumns::element(static_cast<Field>(field)));
        }
        for (const Alias& alias : Aliases) {
            all.emplace_back(alias.element);
        }
        return all;
    }();
    return elements;
}

void CallLogDAO::handleRequest(const char* text, int length) {
    static constexpr Operation<CallLogDAO> Operations[] = {
        {&WriteRequest, &CallLogDAO::writeWithTable, &WriteResponse},
        {&ReadRequest, &CallLogDAO::readRequest, &ReadResponse},
        {&rowCountRequestReason, &CallLogDAO::rowCountRequest, &rowCountResponse},
        {&DeleteRequest, &CallLogDAO::deleteRequest, &DeleteResponse},
    };
    DAS_LOG(5, "handleRequest:\n %s\n", LoggedText::request(text != nullptr ? text : "").c_str());
    if (!parseRequest(text, length, Parser) || !settleUser()) {
        return;
    }
    const auto* const row =
        std::find_if(std::begin(Schemas), std::end(Schemas),
                     [this](const SchemaRow& each) { return *each.schema == m_schemaName; });
    if (row != std::end(Schemas)) {
        m_kind = row->kind;
        (void)dispatch(*this, Operations);  // another reason is a failure, which the answer tells
    }
}

void CallLogDAO::startElement(const char* name, const char** attributes) {
    m_request.startElement(name, attributes);
    if (ListRequest::isEntry(name)) {
        m_entry = {};
    } else if (std::strcmp(name, callElement) == 0) {
        m_call.clear();
    }
}

void CallLogDAO::characters(const char* text, int length) {
    m_request.addCharacters(text, length);
}

void CallLogDAO::endElement(const char* name) {
    const int element = m_request.endElement(name);
    if (element != ListRequest::NoField) {
        setField(static_cast<std::size_t>(element));
    } else if (std::strcmp(name, callElement) == 0) {
        endCall();
    } else if (std::strcmp(name, listElement) == 0) {
        m_entry.namesAllPlaces = true;
    } else if (ListRequest::isEntry(name)) {
        m_entries.push_back(std::move(m_entry));
    }
}

void CallLogDAO::setField(std::size_t element) {
    if (element < EntryColumnCount) {
        m_entry.values[element] = m_request.text();
        return;
    }
    const std::size_t field = element - EntryColumnCount;
    setCallField(field < CallLogColumns::FieldCount
                     ? static_cast<Field>(field)
                     : Aliases[field - CallLogColumns::FieldCount].field,
                 m_request.text());
}

void CallLogDAO::setCallField(Field field, const std::string& text) {
    const auto same = std::find_if(m_call.begin(), m_call.end(),
                                   [&](const CallField& each) { return each.field == field; });
    if (same != m_call.end()) {
        same->text = text;
    } else {
        m_call.push_back({text, field, 0});
    }
}

/// Calls for which a row has no room are counted and not kept: their row fails by their number.
void CallLogDAO::endCall() {
    const std::size_t place = m_entry.calls++;
    if (place < CallLogColumns::Places) {
        for (CallField& field : m_call) {
            field.call = place;
            m_entry.fields.push_back(std::move(field));
        }
    }
    m_call.clear();
}

// Operations --------------------------------------------------------------------------------------

void CallLogDAO::addCategory(PairList& params) const {
    const std::string& category = CallLogWriter::categoryOf(m_kind);
    if (!category.empty()) {
        params.emplace_back(CallLogColumns::name(CallLogColumns::Category),
                            DASUtils::convertToDBFormat(category));
    }
}

void CallLogDAO::fillupSearchParams(PairList& params, unsigned index) const {
    const auto add = [&](RowColumn column, const std::string& value) {
        // Both tables of the joined read have columns of these names.
        const std::string& name = CallLogColumns::name(column);
        params.emplace_back(isJoined() ? inCallLog(name) : name,
                            DASUtils::convertToDBFormat(value));
    };
    add(CallLogColumns::UserContext, m_responseUser);
    if (index >= m_entries.size()) {
        return;
    }
    for (std::size_t i = 0; i < EntryColumnCount; ++i) {
        const std::string& value = m_entries[index].values[i];
        // The grouping key is no search term: kept on purpose, rows are grouped by clients.
        if (!value.empty() && EntryColumns[i] != CallLogColumns::JSGroupBy) {
            add(EntryColumns[i], value);
        }
    }
}

int CallLogDAO::writeWithTable() {
    int status = writeRequest();
    if (status == 0 || couldNotBegin()) {
        return status;
    }
    status = createTable();
    if (status == TableExists) {
        DAS_LOG(5, "Updating CallLog Table...");
        status = updateCallLogTableDatabase();
    }
    if (status != 0) {
        DAS_LOG(5, "ERROR: handleRequest cannot write to Call Log Table [%d]", status);
        return status;
    }
    return writeRequest();
}

int CallLogDAO::writeRequest() {
    m_lastNumber = 0;
    m_resultOfTooMany = 0;
    return forEachEntry(m_entries.size(), [this](std::size_t entry) { return writeEntry(entry); });
}

const std::vector<std::string>& CallLogDAO::columnsOfFullRow() {
    static const std::vector<std::string> columns = [] {
        std::vector<std::string> names = {CallLogColumns::name(CallLogColumns::UserContext),
                                          CallLogColumns::name(CallLogColumns::UniqueId),
                                          CallLogColumns::name(CallLogColumns::Category)};
        for (std::size_t i = 1; i < EntryColumnCount; ++i) {
            names.push_back(CallLogColumns::name(EntryColumns[i]));
        }
        appendFieldNames(names, 0, CallLogColumns::Places);
        return names;
    }();
    return columns;
}

int CallLogDAO::writeEntry(std::size_t index) {
    // Many would fail alike, and each failure takes long: the first one is in the log.
    const bool hasTooManyCalls = m_entries[index].calls > CallLogColumns::Places;
    if (hasTooManyCalls && m_resultOfTooMany != 0) {
        return m_resultOfTooMany;
    }
    const std::vector<std::string> values = valuesOf(index);
    if (!m_entries[index].values[0].empty() &&
        !AssignedNumbers::mayBeStored(*m_dbAdapter, NumberKey, values[CallLogColumns::UniqueId])) {
        return 1;
    }
    int result = 0;
    if (values.size() == columnsOfFullRow().size()) {
        result = m_dbAdapter->insertRow(m_tableName, columnsOfFullRow(), values, &m_lastNumber);
    } else {
        std::vector<std::string> columns = columnsOfFullRow();
        columns.resize(std::min(values.size(), columns.size()));
        // A call too many has names that are no columns, so its row fails: kept on purpose, it is
        // the client that chooses what falls out of a full row.
        if (hasTooManyCalls) {
            appendFieldNames(columns, CallLogColumns::Places, CallLogColumns::Places + 1);
        }
        result = m_dbAdapter->insertRow(m_tableName, columns, values, &m_lastNumber);
        m_resultOfTooMany = hasTooManyCalls ? result : m_resultOfTooMany;
    }
    if (result == 0) {
        DAS_LOG(5, "writeRequest: written row UniqueId='%lld'\n", m_lastNumber);
        if (m_entries[index].values[0].empty()) {
            m_numbers.keep(index, m_lastNumber);
        }
    }
    ChangeScope::noteNumber(*m_dbAdapter, m_lastNumber, m_responseUser);
    return result;
}

std::vector<std::string> CallLogDAO::valuesOf(std::size_t index) const {
    const Entry& entry = m_entries[index];
    // Of the calls too many the first one stands for all.
    const std::size_t places = std::max(std::min(entry.calls, CallLogColumns::Places + 1),
                                        entry.namesAllPlaces ? CallLogColumns::Places : 0);
    std::vector<std::string> values;
    values.reserve(2 + EntryColumnCount + places * CallLogColumns::FieldCount);
    values.push_back(DASUtils::convertToDBFormat(m_responseUser));
    values.push_back(entry.values[0].empty() ? m_numbers.valueOf(index)
                                             : DASUtils::convertToDBFormat(entry.values[0]));
    values.push_back(DASUtils::convertToDBFormat(CallLogWriter::categoryOf(m_kind)));
    for (std::size_t i = 1; i < EntryColumnCount; ++i) {
        values.push_back(DASUtils::convertToDBFormat(entry.values[i]));
    }
    const std::size_t firstCell = values.size();
    values.resize(firstCell + places * CallLogColumns::FieldCount, EmptyDBString);
    for (const CallField& field : entry.fields) {
        values[firstCell + field.call * CallLogColumns::FieldCount + field.field] =
            DASUtils::convertToDBFormat(field.text);
    }
    return values;
}

bool CallLogDAO::isJoined() const {
    return m_kind == CallLogWriter::AllWithContacts;
}

bool CallLogDAO::hidesConversations() const {
    // Without ResultCols the whole log is shown, also calls of conversations: kept on purpose,
    // clients count on it.
    return isJoined() ||
           (m_kind == CallLogWriter::All && !m_resultColumns.empty() &&
            calculateIfReadAll(m_tableName) && !calculateIfReadAll(PhoneBookTableName));
}

void CallLogDAO::makeTablesOfRead() {
    // One that can't be made lets the read fail, which the log explains.
    (void)createMissingTable();
    if (hidesConversations()) {
        (void)ConversationsDAO(m_dbAdapter).createMissingTable();
    }
    if (isJoined()) {
        (void)PhonebookDAO(m_dbAdapter).createMissingTable();
    }
}

std::string CallLogDAO::joinWithContacts() const {
    return joinInFrontOfUser + DASUtils::convertToDBFormat(m_responseUser) + joinBehindUser;
}

int CallLogDAO::readRequest() {
    m_resultColumns = m_request.resultColumns();
    if (m_dbAdapter == nullptr || !DASUtils::areResultColumns(m_resultColumns) ||
        !m_request.hasSafePaging()) {
        return 1;
    }
    makeTablesOfRead();
    const std::string number = inCallLog(CallLogColumns::name(CallLogColumns::UniqueId));
    const std::string newestTime = CallLogColumns::name(CallLogColumns::TimeDate, 0);
    PairList params;
    addCategory(params);
    fillupSearchParams(params, 0);
    PairList hidden;
    if (hidesConversations()) {
        hidden.emplace_back(number,
                            ConversationsTable::allNamedIn(ConversationsColumns::callColumn));
    }
    // A call whose number several contacts have is one row all the same.
    std::vector<std::string> groupBy(isJoined() ? 1 : 0, number);
    PairList orderBy;
    if (isJoined() || m_kind == CallLogWriter::All) {
        orderBy.emplace_back(isJoined() ? inCallLog(newestTime) : newestTime, "DESC");
    }
    const auto read = [&] {
        PairList none;
        return m_dbAdapter->executeQuery(m_tableName, m_resultColumns, params, none, hidden,
                                         isJoined() ? joinWithContacts() : std::string(), groupBy,
                                         orderBy, m_resultRows, m_request.offset(),
                                         m_request.rowLimit());
    };
    return readIntoBody(read,
                        [this](std::string& body, const Rows& rows) { appendRows(body, rows); });
}

int CallLogDAO::rowCountRequest() {
    if (m_dbAdapter == nullptr) {
        return 1;
    }
    PairList params;
    addCategory(params);
    fillupSearchParams(params, 0);
    return m_dbAdapter->getRowCount(m_tableName, params, m_count);
}

int CallLogDAO::deleteRequest() {
    // One that names no number looks at all rows.
    m_limits.checkDeletion(static_cast<std::size_t>(
        std::count_if(m_entries.begin(), m_entries.end(),
                      [](const auto& entry) { return entry.values[0].empty(); })));
    if (isBeyondLimits()) {
        return 1;
    }
    return forEachEntry(std::max<std::size_t>(m_entries.size(), 1), [this](std::size_t entry) {
        PairList params;
        fillupSearchParams(params, static_cast<unsigned>(entry));
        addCategory(params);
        const int result = m_dbAdapter->deleteRow(m_tableName, params);
        static const std::string allRows;
        ChangeScope::noteNumber(*m_dbAdapter,
                                entry < m_entries.size() ? m_entries[entry].values[0] : allRows,
                                m_responseUser);
        return result;
    });
}

// Answers -----------------------------------------------------------------------------------------

std::string CallLogDAO::responseData() {
    if (m_responseReason == WriteResponse) {
        DAS_LOG(5, "writeResponse: row UniqueId='%lld' === '%s'\n", m_lastNumber,
                ClientUtils::int64tos(m_lastNumber).c_str());
        return ListRequest::numberAnswer(CallLogColumns::element(CallLogColumns::UniqueId),
                                         m_lastNumber);
    }
    if (m_responseReason == rowCountResponse) {
        return ListRequest::countAnswer(m_count);
    }
    return m_responseReason == ReadResponse ? std::exchange(m_body, {}) : std::string();
}

void CallLogDAO::appendRows(std::string& body, const Rows& rows) const {
    const ShownCells shown = shownCells(rows.front().size());
    for (const auto& row : rows) {
        body += xmlEntryStartTag;
        appendRow(body, row, shown);
        body += xmlEntryEndTag;
    }
}

CallLogDAO::ShownCells CallLogDAO::shownCells(std::size_t rowWidth) const {
    const bool showsWholeRows = calculateIfReadAll(m_tableName);
    ShownCells shown;
    if (m_resultColumns.empty()) {
        shown.wholeRow = 0;
        shown.contact = isJoined() ? CallLogColumns::Count : None;
        return shown;
    }
    const auto positions = DASUtils::positionsOfWords(m_resultColumns, rowWidth,
                                                      {{m_tableName, CallLogColumns::Count}});
    for (std::size_t i = 0; i < m_resultColumns.size(); ++i) {
        const std::string& word = m_resultColumns[i];
        if (word == CallLogWriter::allOfCallLog()) {
            shown.wholeRow = std::min(shown.wholeRow, positions[i]);
        } else if (word == CallLogWriter::allOfPhoneBook()) {
            shown.contact =
                isJoined() && showsWholeRows ? std::min(shown.contact, positions[i]) : None;
        } else if (const auto column = entryColumn(word); column && !showsWholeRows) {
            shown.cells.emplace_back(*column, positions[i]);
        }
    }
    return shown;
}

void CallLogDAO::appendRow(std::string& out, const std::vector<std::string>& row,
                           const ShownCells& shown) const {
    if (shown.wholeRow != None) {
        CallLogWriter::parseAllCallLogCols(out, row, shown.wholeRow, m_kind);
    }
    if (shown.contact != None) {
        CallLogWriter::parseAllPhoneBookCols(out, row, shown.contact, CallLogWriter::UserOfContact);
    }
    for (const auto& [column, position] : shown.cells) {
        CallLogWriter::appendCell(out, row, position, CallLogWriter::tagsOf(column));
    }
}

std::optional<RowColumn> CallLogDAO::entryColumn(const std::string& word) {
    static const std::string prefix = inCallLog("");
    const std::string name =
        word.compare(0, prefix.size(), prefix) == 0 ? word.substr(prefix.size()) : word;
    const auto* const found =
        std::find_if(std::begin(EntryColumns), std::end(EntryColumns),
                     [&](RowColumn column) { return CallLogColumns::name(column) == name; });
    return found != std::end(EntryColumns) ? std::optional(*found) : std::nullopt;
}

// The table and its users -------------------------------------------------------------------------

int CallLogDAO::createTable() {
    PairList columns;
    buildColumnNameList(columns);
    return createTableUnlessThere(columns);
}

void CallLogDAO::buildEntryDataList(PairList& columns) {
    append(columns, CallLogColumns::entryColumns());
}

void CallLogDAO::buildItemDataList(PairList& columns) {
    append(columns, CallLogColumns::itemColumns());
}

void CallLogDAO::buildExtraItemDataList(PairList& columns) {
    append(columns, CallLogColumns::extraColumns());
}

void CallLogDAO::buildColumnNameList(PairList& columns) {
    buildEntryDataList(columns);
    buildItemDataList(columns);
    buildExtraItemDataList(columns);
}

int CallLogDAO::initialiseMobilityUserData(const std::string& context) {
    return deleteContextData(context);
}

int CallLogDAO::deleteVisitorCallLog() {
    return deleteVisitorCallLog(m_tableName);
}

void CallLogDAO::getColumnNames(unsigned columnCount, std::vector<std::string>& names) {
    for (const RowColumn column : FileColumns) {
        names.push_back(CallLogColumns::name(column));
    }
    appendNames(names, CallLogColumns::itemColumns());
    if (columnCount != FieldsOfOlderFile) {
        appendNames(names, CallLogColumns::extraColumns());
    }
}

int CallLogDAO::updateCallLogTableDatabase() {
    constexpr int failed = 2;
    PairList columns;
    buildColumnNameList(columns);
    const int result = DASUtils::updateTableInDatabase(m_dbAdapter, m_tableName, columns);
    return result == failed ? failed : 0;
}

int CallLogDAO::exportData(PairList& conditions, std::string& location) {
    (void)DASUtils::readAllItemsFromTableAndWriteToFile(m_dbAdapter, m_tableName, location,
                                                        conditions);
    return 0;
}

int CallLogDAO::importData(std::string& location) {
    (void)createMissingTable();
    std::vector<std::string> names = columnNames();
    return importDataFromFile(m_tableName, names, location) ? 0 : 1;
}

int CallLogDAO::importDataForUser(const std::string& location, eUserCategory category) {
    const std::string& context = category == visitor ? UserContextVisitor : UserContextBase;
    (void)createMissingTable();
    return replaceRowsOfUser(context, location, [&](std::vector<std::string>& fields) {
        return importRow(context, fields);
    });
}

int CallLogDAO::importRow(const std::string& context, std::vector<std::string>& fields) {
    std::vector<std::string> names;
    if (DASUtils::isNumber(fields.front())) {
        getColumnNames(static_cast<unsigned>(fields.size()), names);
    } else {
        names = columnNames();
    }
    // Fields that are missing are blank; one too many makes the insert fail, which is logged.
    fields.resize(std::max(fields.size(), names.size()));
    const auto placeOf = [&](RowColumn column) {
        return std::find(names.begin(), names.end(), CallLogColumns::name(column)) - names.begin();
    };
    fields[static_cast<std::size_t>(placeOf(CallLogColumns::UserContext))] = context;
    const auto number = placeOf(CallLogColumns::UniqueId);  // of another telephone
    names.erase(names.begin() + number);
    fields.erase(fields.begin() + number);
    return updateItemInTable(m_tableName, names, fields);
}

int CallLogDAO::updateItemInTable(const std::string& table, std::vector<std::string>& names,
                                  std::vector<std::string>& values) {
    return insertLineOfFile(table, names, values, NumberKey);
}
