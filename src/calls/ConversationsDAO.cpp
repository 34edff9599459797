// A read without ResultCols shows the rows themselves; one with ResultCols joins the calls and
// contacts that they name. Missing tables of the join are created first, so that a read of an empty
// log does not fail.

#include "calls/ConversationsDAO.h"

#include <utility>

#include "Log.h"
#include "calls/CallLogDAO.h"
#include "calls/CallLogWriter.h"
#include "contacts/PhonebookDAO.h"
#include "database/DatabaseAdapter.h"
#include "database/LoggedText.h"

namespace {

using namespace DASUtilsStrings;

using namespace ConversationsColumns;

const AssignedNumbers::Key NumberKey = {ConversationsTableName, NumberColumn};

/// Cells of a row that an answer shows; the user is left out.
constexpr std::size_t ShownCells[] = {0, 2, 3};

const std::string JoinedResponse = "read_response_with_join";
const std::string JoinOfCallsAndContacts =
    "    INNER JOIN CALL_LOG"
    "        ON CONVERSATIONS.CallLogId = CALL_LOG.UniqueID"
    "    INNER JOIN PHONE_BOOK"
    "        ON CONVERSATIONS.PhonebookId = PHONE_BOOK.UniqueID";

constexpr RequestParser Parser = {ConversationsDAOXmlStartElement, ConversationsDAOXmlEndElement,
                                  ConversationsDAOXmlCharacterDataHandler, "DataAccessService",
                                  "Parsing a ConversationsDAO '%s' request failed."};

ConversationsDAO& self(void* dao) {
    return static_cast<ConversationsDAO&>(*static_cast<DataAccessObject*>(dao));
}

}  // namespace

void ConversationsDAOXmlStartElement(void* dao, const char* name, const char** attributes) {
    self(dao).startElement(name, attributes);
}

void ConversationsDAOXmlEndElement(void* dao, const char* name) {
    self(dao).endElement(name);
}

void ConversationsDAOXmlCharacterDataHandler(void* dao, const char* text, int length) {
    self(dao).characters(text, length);
}

ConversationsDAO::ConversationsDAO(DatabaseAdapter* adapter) : ConversationsTable(adapter) {}

void ConversationsDAO::handleRequest(const char* text, int length) {
    static constexpr Operation<ConversationsDAO> Operations[] = {
        {&WriteRequest, &ConversationsDAO::writeWithTable, &WriteResponse},
        {&ReadRequest, &ConversationsDAO::readRequest, &ReadResponse},
        {&DeleteRequest, &ConversationsDAO::deleteRequest, &DeleteResponse},
    };
    DAS_LOG(5, "handleRequest:[%s]\n", LoggedText::request(text != nullptr ? text : "").c_str());
    if (parseRequest(text, length, Parser) && settleUser()) {
        (void)dispatch(*this, Operations);  // another reason is answered as a failure
    }
}

void ConversationsDAO::startElement(const char* name, const char** attributes) {
    m_request.startElement(name, attributes);
    if (ListRequest::isEntry(name)) {
        m_entry = {};
    }
}

void ConversationsDAO::endElement(const char* name) {
    const int field = m_request.endElement(name);
    if (field != ListRequest::NoField) {
        m_entry[static_cast<std::size_t>(field)] = m_request.text();
    } else if (ListRequest::isEntry(name)) {
        m_entries.push_back(m_entry);
    }
}

/// A blank field is not a condition: a delete by number sends the other two fields blank.
void ConversationsDAO::fillupSearchParams(PairList& params, unsigned index) const {
    params.emplace_back(UserContextTagName, DASUtils::convertToDBFormat(m_responseUser));
    if (index >= m_entries.size()) {
        return;
    }
    for (std::size_t i = 0; i < FieldCount; ++i) {
        const std::string& value = m_entries[index][i];
        if (!value.empty()) {
            params.emplace_back(fields()[i], DASUtils::convertToDBFormat(value));
        }
    }
}

int ConversationsDAO::writeWithTable() {
    const int status = writeRequest();
    if (status == 0 || couldNotBegin()) {
        return status;
    }
    (void)createTable();  // fails if the missing table was not the cause
    return writeRequest();
}

int ConversationsDAO::writeRequest() {
    DAS_LOG(6, "writeRequest");
    m_lastNumber = 0;
    return forEachEntry(m_entries.size(), [this](std::size_t entry) { return writeEntry(entry); });
}

int ConversationsDAO::writeEntry(std::size_t index) {
    const auto& [number, contact, call] = m_entries[index];
    if (!number.empty() && !mayStore(NumberKey, DASUtils::convertToDBFormat(number))) {
        return 1;
    }
    const std::vector<std::string> values = {
        number.empty() ? m_numbers.valueOf(index) : DASUtils::convertToDBFormat(number),
        DASUtils::convertToDBFormat(m_responseUser), DASUtils::convertToDBFormat(contact),
        DASUtils::convertToDBFormat(call)};
    return noteStored(index, number.empty(),
                      m_dbAdapter->insertRow(m_tableName, columnNames(), values, &m_lastNumber));
}

int ConversationsDAO::readRequest() {
    DAS_LOG(6, "readRequest");
    if (!takeReadWords()) {
        return 1;
    }
    (void)createMissingTable();
    if (!m_resultColumns.empty()) {
        return readJoined();
    }
    PairList params;
    fillupSearchParams(params, 0);
    const auto read = [&] {
        PairList orderBy;
        return m_dbAdapter->executeQuery(m_tableName, {}, params, orderBy, m_resultRows,
                                         m_request.offset(), m_request.rowLimit());
    };
    return readIntoBody(read, appendPlainRows);
}

/// If a table is missing, the whole join fails; if it is empty, the join has no rows. So the tables
/// of calls and contacts are created first.
int ConversationsDAO::readJoined() {
    (void)CallLogDAO(m_dbAdapter).createMissingTable();
    (void)PhonebookDAO(m_dbAdapter).createMissingTable();
    PairList params;
    fillupSearchParams(params, 0);
    for (auto& param : params) {
        // The joined tables have columns of these names, so the table is added.
        param.first.insert(0, m_tableName + ".");
    }
    std::vector<std::string> groupBy;
    PairList orderBy = {
        {CallLogTableName + "." + CallLogColumns::name(CallLogColumns::TimeDate, 0), "DESC"}};
    // This reason shows clients which of the two forms the rows have.
    m_responseReason = JoinedResponse;
    const auto read = [&] {
        return m_dbAdapter->executeQuery(m_tableName, m_resultColumns, params,
                                         JoinOfCallsAndContacts, groupBy, orderBy, m_resultRows,
                                         m_request.offset(), m_request.rowLimit());
    };
    return readIntoBody(
        read, [this](std::string& body, const Rows& rows) { appendJoinedRows(body, rows); });
}

int ConversationsDAO::deleteRequest() {
    std::vector<std::string> numbers;
    for (const Entry& entry : m_entries) {
        numbers.push_back(entry[0]);
    }
    return deleteEntries(
        numbers, [this](PairList& params, unsigned entry) { fillupSearchParams(params, entry); });
}

std::string ConversationsDAO::schemaName() {
    DAS_LOG(6, "schemaName[%s]", m_schemaName.c_str());
    return m_schemaName;
}

std::string ConversationsDAO::responseData() {
    DAS_LOG(6, "responseData");
    if (m_responseReason == WriteResponse) {
        return ListRequest::numberAnswer(NumberColumn, m_lastNumber);
    }
    const bool isRead = m_responseReason == JoinedResponse || m_responseReason == ReadResponse;
    return isRead ? std::exchange(m_body, {}) : std::string();
}

void ConversationsDAO::appendPlainRows(std::string& body, const Rows& rows) {
    std::vector<CallLogWriter::Tags> tags;
    for (const std::string& name : fields()) {
        tags.emplace_back(name);
    }
    for (const auto& row : rows) {
        body += xmlEntryStartTag;
        for (std::size_t i = 0; i < FieldCount; ++i) {
            CallLogWriter::appendCell(body, row, ShownCells[i], tags[i]);
        }
        body += xmlEntryEndTag;
    }
}

void ConversationsDAO::appendJoinedRows(std::string& body, const Rows& rows) const {
    const auto positions = DASUtils::positionsOfWords(
        m_resultColumns, rows.front().size(),
        {{CallLogTableName, CallLogColumns::Count}, {m_tableName, columns().size()}});
    for (const auto& row : rows) {
        body += xmlEntryStartTag;
        for (std::size_t i = 0; i < m_resultColumns.size(); ++i) {
            if (m_resultColumns[i] == CallLogWriter::allOfCallLog()) {
                CallLogWriter::parseAllCallLogCols(body, row, positions[i], CallLogWriter::All);
            } else if (m_resultColumns[i] == CallLogWriter::allOfPhoneBook()) {
                CallLogWriter::parseAllPhoneBookCols(body, row, positions[i],
                                                     CallLogWriter::SurnameOfContact);
            }
        }
        body += xmlEntryEndTag;
    }
}

int ConversationsDAO::initialiseMobilityUserData(const std::string& context) {
    DAS_LOG(5, "initialiseMobilityUserData %s", context.c_str());
    return ListDAO::initialiseMobilityUserData(context);
}

int ConversationsDAO::exportData(PairList& conditions, std::string& location) {
    DAS_LOG(5, "exportData to %s", location.c_str());
    return ListDAO::exportData(conditions, location);
}

int ConversationsDAO::importData(std::string& location) {
    DAS_LOG(5, "importData from %s", location.c_str());
    return ListDAO::importData(location);
}

int ConversationsDAO::updateItemInTable(const std::string& table, std::vector<std::string>& names,
                                        std::vector<std::string>& values) {
    return insertLineOfFile(table, names, values, NumberKey);
}
