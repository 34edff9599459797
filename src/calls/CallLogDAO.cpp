// The call log as clients see it: which schema shows which calls, how a request becomes SQL, and
// the files of management. CallLogEntries holds the rows of a request; CallLogDAO_Answer.cpp makes
// the rows of an answer.

#include "calls/CallLogDAO.h"

#include <algorithm>
#include <iterator>
#include <utility>

#include "ClientUtils.h"
#include "Log.h"
#include "calls/ConversationsDAO.h"
#include "contacts/PhonebookDAO.h"
#include "database/DatabaseAdapter.h"
#include "database/LoggedText.h"

namespace {

using namespace DASUtilsStrings;
using CallLogColumns::RowColumn;

/// A schema, and the calls that it shows.
struct SchemaRow {
    const std::string* schema;
    CallLogWriter::Kind kind;
};

const std::string DialledSchema = "CallLogDialledCalls";
const std::string ForwardedSchema = "CallLogForwardedCalls";
const std::string MissedSchema = "CallLogMissedCalls";
const std::string ReceivedSchema = "CallLogReceivedCalls";

const SchemaRow Schemas[] = {
    {&DialledSchema, CallLogWriter::Dialled},
    {&ForwardedSchema, CallLogWriter::Forwarded},
    {&MissedSchema, CallLogWriter::Missed},
    {&ReceivedSchema, CallLogWriter::Received},
    {&CallLogSchema, CallLogWriter::All},
    {&CallLogAndPhoneBookSchema, CallLogWriter::AllWithContacts},
};

constexpr RequestParser Parser = {CallLogDAOXmlStartElement, CallLogDAOXmlEndElement,
                                  CallLogDAOXmlCharacterDataHandler, "DataAccessService",
                                  "Parsing a CallLogDAO '%s' request failed."};

const AssignedNumbers::Key NumberKey = {CallLogTableName,
                                        CallLogColumns::name(CallLogColumns::UniqueId)};

constexpr int TableExists = 2;  // result of createTable
/// Number of fields in a file that was written before calls had more fields.
constexpr unsigned FieldsOfOlderFile = 98;

// A call is matched to a contact only by its newest number, in the same user's phone book.
const std::string JoinBeforeUser =
    "LEFT JOIN PHONE_BOOK ON "
    "( PHONE_BOOK.Office = CALL_LOG.Number0 "
    "        OR "
    "        PHONE_BOOK.Office2 = CALL_LOG.Number0 "
    "        OR "
    "        PHONE_BOOK.Mobile = CALL_LOG.Number0"
    "        OR "
    "        PHONE_BOOK.Private = CALL_LOG.Number0 )"
    "        AND PHONE_BOOK.UserContext = ";
const std::string JoinAfterUser = "        AND CALL_LOG.Number0 <> ''";

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

/// The table without defaults, since a column that a rebuild adds is blank.
const std::shared_ptr<const TableLayout>& layout() {
    static const auto shared = [] {
        PairList columns = CallLogColumns::entryColumns();
        append(columns, CallLogColumns::itemColumns());
        append(columns, CallLogColumns::extraColumns());
        return std::make_shared<const TableLayout>(
            TableLayout::of(CallLogSchema, CallLogTableName, columns));
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
    : ListDAO(adapter, layout(), CallLogEntries::elements()) {}

std::vector<std::string> CallLogDAO::schemas() {
    std::vector<std::string> names;
    for (const SchemaRow& row : Schemas) {
        names.push_back(*row.schema);
    }
    return names;
}

void CallLogDAO::handleRequest(const char* text, int length) {
    static constexpr Operation<CallLogDAO> Operations[] = {
        {&WriteRequest, &CallLogDAO::writeWithTable, &WriteResponse},
        {&ReadRequest, &CallLogDAO::readRequest, &ReadResponse},
        {&RowCountRequest, &CallLogDAO::rowCountRequest, &RowCountResponse},
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
        (void)dispatch(*this, Operations);  // another reason is answered as a failure
    }
}

void CallLogDAO::startElement(const char* name, const char** attributes) {
    m_request.startElement(name, attributes);
    m_entries.startElement(name);
}

void CallLogDAO::endElement(const char* name) {
    const int field = m_request.endElement(name);
    m_entries.endElement(name, field, m_request.text());
}

void CallLogDAO::addCategory(PairList& params) const {
    const std::string& category = CallLogWriter::categoryOf(m_kind);
    if (!category.empty()) {
        params.emplace_back(CallLogColumns::name(CallLogColumns::Category),
                            DASUtils::convertToDBFormat(category));
    }
}

void CallLogDAO::fillupSearchParams(PairList& params, unsigned index) const {
    const auto add = [&](RowColumn column, const std::string& value) {
        // Both joined tables have columns of these names, so the table is added.
        const std::string& name = CallLogColumns::name(column);
        params.emplace_back(isJoined() ? inCallLog(name) : name,
                            DASUtils::convertToDBFormat(value));
    };
    add(CallLogColumns::UserContext, m_responseUser);
    if (index >= m_entries.size()) {
        return;
    }
    for (std::size_t i = 0; i < CallLogEntries::ColumnCount; ++i) {
        const std::string& value = m_entries.values(index)[i];
        // The grouping key is no search condition: kept on purpose, clients group rows themselves.
        if (!value.empty() && CallLogEntries::Columns[i] != CallLogColumns::JSGroupBy) {
            add(CallLogEntries::Columns[i], value);
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

int CallLogDAO::writeEntry(std::size_t index) {
    // All others would fail in the same way, and each failure takes long; one is in the log.
    const bool hasTooManyCalls = m_entries.hasTooManyCalls(index);
    if (hasTooManyCalls && m_resultOfTooMany != 0) {
        return m_resultOfTooMany;
    }
    const std::string& given = m_entries.values(index)[0];
    const std::string number =
        given.empty() ? m_numbers.valueOf(index) : DASUtils::convertToDBFormat(given);
    if (!given.empty() && !mayStore(NumberKey, number)) {
        return 1;
    }
    const std::vector<std::string> cells =
        m_entries.cellsOf(index, m_responseUser, number, CallLogWriter::categoryOf(m_kind));
    const std::vector<std::string>& all = CallLogEntries::columnsOfFullRow();
    const int result =
        cells.size() == all.size()
            ? m_dbAdapter->insertRow(m_tableName, all, cells, &m_lastNumber)
            : m_dbAdapter->insertRow(m_tableName, m_entries.columnsOf(index, cells.size()), cells,
                                     &m_lastNumber);
    m_resultOfTooMany = hasTooManyCalls ? result : m_resultOfTooMany;
    if (result == 0) {
        DAS_LOG(5, "writeRequest: written row UniqueId='%lld'\n", m_lastNumber);
    }
    return noteStored(index, given.empty(), result);
}

bool CallLogDAO::isJoined() const {
    return m_kind == CallLogWriter::AllWithContacts;
}

bool CallLogDAO::hidesConversations() const {
    // Without ResultCols the whole log is shown, including calls of conversations: kept on purpose,
    // clients rely on it.
    return isJoined() ||
           (m_kind == CallLogWriter::All && !m_resultColumns.empty() &&
            calculateIfReadAll(m_tableName) && !calculateIfReadAll(PhoneBookTableName));
}

void CallLogDAO::makeTablesOfRead() {
    // If the table can't be created, the read fails, and the log shows why.
    (void)createMissingTable();
    if (hidesConversations()) {
        (void)ConversationsDAO(m_dbAdapter).createMissingTable();
    }
    if (isJoined()) {
        (void)PhonebookDAO(m_dbAdapter).createMissingTable();
    }
}

int CallLogDAO::readRequest() {
    if (!takeReadWords()) {
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
                            ConversationsTable::allNamedIn(ConversationsColumns::CallColumn));
    }
    const std::string join =
        isJoined() ? JoinBeforeUser + DASUtils::convertToDBFormat(m_responseUser) + JoinAfterUser
                   : std::string();
    // If several contacts have the number of a call, the call is still one row.
    std::vector<std::string> groupBy(isJoined() ? 1 : 0, number);
    PairList orderBy;
    if (isJoined() || m_kind == CallLogWriter::All) {
        orderBy.emplace_back(isJoined() ? inCallLog(newestTime) : newestTime, "DESC");
    }
    const auto read = [&] {
        PairList none;
        return m_dbAdapter->executeQuery(m_tableName, m_resultColumns, params, none, hidden, join,
                                         groupBy, orderBy, m_resultRows, m_request.offset(),
                                         m_request.rowLimit());
    };
    return readIntoBody(read,
                        [this](std::string& body, const Rows& rows) { appendRows(body, rows); });
}

int CallLogDAO::rowCountRequest() {
    PairList params;
    addCategory(params);
    fillupSearchParams(params, 0);
    return getDatabaseAdapter() == nullptr ? 1
                                           : m_dbAdapter->getRowCount(m_tableName, params, m_count);
}

int CallLogDAO::deleteRequest() {
    return deleteEntries(m_entries.numbers(), [this](PairList& params, unsigned entry) {
        fillupSearchParams(params, entry);
        addCategory(params);
    });
}

std::string CallLogDAO::responseData() {
    if (m_responseReason == WriteResponse) {
        DAS_LOG(5, "writeResponse: row UniqueId='%lld' === '%s'\n", m_lastNumber,
                ClientUtils::int64tos(m_lastNumber).c_str());
        return ListRequest::numberAnswer(CallLogColumns::element(CallLogColumns::UniqueId),
                                         m_lastNumber);
    }
    if (m_responseReason == RowCountResponse) {
        return ListRequest::countAnswer(m_count);
    }
    return m_responseReason == ReadResponse ? std::exchange(m_body, {}) : std::string();
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
    // Missing fields are blank. An extra field makes the insert fail, which is logged.
    fields.resize(std::max(fields.size(), names.size()));
    const auto placeOf = [&](RowColumn column) {
        return std::find(names.begin(), names.end(), CallLogColumns::name(column)) - names.begin();
    };
    fields[static_cast<std::size_t>(placeOf(CallLogColumns::UserContext))] = context;
    const auto number = placeOf(CallLogColumns::UniqueId);  // assigned by another telephone
    names.erase(names.begin() + number);
    fields.erase(fields.begin() + number);
    return updateItemInTable(m_tableName, names, fields);
}

int CallLogDAO::updateItemInTable(const std::string& table, std::vector<std::string>& names,
                                  std::vector<std::string>& values) {
    return insertLineOfFile(table, names, values, NumberKey);
}
