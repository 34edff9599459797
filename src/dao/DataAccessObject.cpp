// An object serves one request: the request is parsed into the fields of the object, value by
// value. Each value is escaped as soon as its element ends, so later code never sees a raw value.

#include "dao/DataAccessObject.h"

#include <algorithm>
#include <string_view>
#include <utility>

#include "DASChangeListenerIfc.h"
#include "Log.h"
#include "database/DatabaseAdapter.h"
#include "database/LoggedText.h"

namespace {

const std::shared_ptr<const TableLayout>& emptyLayout() {
    static const std::shared_ptr<const TableLayout> layout = std::make_shared<TableLayout>();
    return layout;
}

}  // namespace

void XmlStartElement(void* dao, const char* name, const char** attributes) {
    static_cast<DataAccessObject*>(dao)->XmlStartElement(name, attributes);
}

void XmlEndElement(void* dao, const char* name) {
    static_cast<DataAccessObject*>(dao)->XmlEndElement(name);
}

void XmlCharacterDataHandler(void* dao, const char* text, int length) {
    static_cast<DataAccessObject*>(dao)->XmlCharacterDataHandler(text, length);
}

DataAccessObject::DataAccessObject() : DataAccessObject(nullptr) {}

DataAccessObject::DataAccessObject(DatabaseAdapter* adapter)
    : DataAccessObject(adapter, emptyLayout()) {}

DataAccessObject::DataAccessObject(DatabaseAdapter* adapter, const std::string& schemaName,
                                   XmlStartHandler startHandler, XmlEndHandler endHandler,
                                   XmlCharacterHandler charHandler, bool skipFirstColumn,
                                   const std::vector<DASUtils::ColumnInfo>& columns,
                                   const std::vector<std::string>& defaultRowIds,
                                   const std::string& tableName, bool hasDefaultRowsPerUser)
    : DataAccessObject(adapter, std::make_shared<TableLayout>(
                                    TableLayout{schemaName, tableName, skipFirstColumn,
                                                hasDefaultRowsPerUser, columns, defaultRowIds})) {
    m_startHandler = startHandler;
    m_endHandler = endHandler;
    m_charHandler = charHandler;
}

DataAccessObject::DataAccessObject(DatabaseAdapter* adapter,
                                   std::shared_ptr<const TableLayout> layout)
    : m_dbAdapter(adapter != nullptr ? adapter : &DatabaseAdapter::none()),
      m_layout(std::move(layout)),
      m_tableName(m_layout->table),
      m_schemaName(m_layout->schema),
      m_startHandler(::XmlStartElement),
      m_endHandler(::XmlEndElement),
      m_charHandler(::XmlCharacterDataHandler) {}

DataAccessObject::~DataAccessObject() = default;

void DataAccessObject::handleRequest(const char* text, int length) {
    m_rowsToWrite.clear();
    m_newValues.clear();
    m_limits = {};
    m_rowId.clear();
    m_responseUser.clear();
    m_requestContext.clear();
    if (!hasAdapter()) {
        m_responseReason = DASUtilsStrings::FailureResponse;
        return;
    }
    handleRequestHelper(text, length);
}

bool DataAccessObject::hasAdapter() const {
    const bool isGiven = m_dbAdapter != &DatabaseAdapter::none();
    if (!isGiven) {
        DAS_LOG(2, "No database adapter for schema '%s'", m_schemaName.c_str());
    }
    return isGiven;
}

DatabaseAdapter* DataAccessObject::getDatabaseAdapter() {
    return m_dbAdapter != &DatabaseAdapter::none() ? m_dbAdapter : nullptr;
}

bool DataAccessObject::parseRequest(const char* text, int length, const RequestParser& parser) {
    m_newValues.clear();
    m_limits = {};
    m_requestContext.clear();
    m_responseReason = DASUtilsStrings::FailureResponse;
    if (!hasAdapter()) {
        return false;
    }
    XmlHandler handler(this, parser.start, parser.end, parser.characters);
    if (handler.parseMessage(text, length) != 0) {
        return true;
    }
    if (!isBeyondLimits() && loggingOnAppUni(parser.logComponent, 2)) {
        const std::string shown =
            LoggedText::request(text != nullptr ? text : "", LoggedText::FailureSize);
        logAppUni(parser.logComponent, DAS_LOG_SOURCE, 2, __LINE__, parser.failureFormat,
                  shown.c_str());
    }
    return false;
}

bool DataAccessObject::settleUser() {
    m_responseUser = m_requestContext.empty() ? DASUtils::escapeSqlReservedCharacters(m_currentUser)
                                              : m_requestContext;
    return !m_responseUser.empty();
}

void DataAccessObject::handleRequestHelper(const char* text, int length) {
    DASUtils::handleRequestHelper(text, length, *this);
}

bool DataAccessObject::mayServe(DASUtils::TableState state) const {
    return state == DASUtils::TableState::Ready ||
           (state == DASUtils::TableState::Unknown && m_reason == DASUtilsStrings::ReadRequest);
}

std::string DataAccessObject::firstAttribute(const char** attributes) {
    const bool hasValue =
        attributes != nullptr && attributes[0] != nullptr && attributes[1] != nullptr;
    return hasValue ? DASUtils::escapeSqlReservedCharacters(attributes[1]) : std::string();
}

/// The user is not a field of a row in a request: it comes from the Context, and a row must not
/// name another user.
const DASUtils::ColumnInfo* DataAccessObject::requestColumn(const char* name) const {
    const auto& all = columns();
    const auto found = std::find_if(all.begin(), all.end(), [name](const auto& column) {
        return column.name == name && column.name != DASUtilsStrings::UserContextTagName;
    });
    return found != all.end() ? &*found : nullptr;
}

void DataAccessObject::XmlStartElement(const char* name, const char** attributes) {
    m_charData.clear();
    m_currentElement.clear();
    const std::string_view element = name;
    if (element == "ReasonForMessage" || element == "ResultCols") {
        m_currentElement = element;
    } else if (element == "Context") {
        m_requestContext = firstAttribute(attributes);
        m_limits.checkName(m_requestContext);
    } else if (element == "Entry") {
        m_limits.addEntry();
        m_newValues.clear();
        m_rowId.clear();
    } else if (requestColumn(name) != nullptr) {
        m_currentElement = element;
    }
}

void DataAccessObject::XmlCharacterDataHandler(const char* text, int length) {
    m_charData.append(text, static_cast<std::size_t>(length));
}

void DataAccessObject::XmlEndElement(const char* name) {
    if (std::string_view(name) == "Entry") {
        m_rowsToWrite.push_back({m_rowId, m_newValues});
    } else if (!m_currentElement.empty()) {
        m_charData = DASUtils::escapeSqlReservedCharacters(m_charData);
        if (m_currentElement == "ReasonForMessage") {
            m_reason = m_charData;
        } else if (m_currentElement == "ResultCols") {
            m_resultColsText = m_charData;
            m_limits.checkColumns(m_resultColsText);
        } else if (m_currentElement == DASUtilsStrings::IdTagName) {
            m_rowId = m_charData;
        } else {
            m_newValues.emplace_back(m_currentElement, DASUtils::convertToDBFormat(m_charData));
            m_limits.checkValues(m_newValues.size());
        }
    }
    m_currentElement.clear();
}

int DataAccessObject::writeRequest() {
    return 1;
}

int DataAccessObject::updateRequest() {
    return DASUtils::updateRequestHelper(*m_dbAdapter, m_rowId, m_responseUser, m_tableName,
                                         m_newValues, m_rowsToWrite);
}

int DataAccessObject::readRequest() {
    const auto read = [this] {
        return DASUtils::readRequest(m_newValues, m_resultRows, m_resultColumns, m_resultColsText,
                                     m_responseUser, m_rowId, m_tableName, *m_dbAdapter);
    };
    return readEntries(read, shownColumns(), m_layout->skipFirstColumn);
}

bool DataAccessObject::calculateIfReadAll(const std::string& table) const {
    return m_resultColumns.empty() ? table == m_tableName
                                   : DASUtils::columnIsInColumnList(table + ".*", m_resultColumns);
}

void DataAccessObject::describeChange(const std::string& routedBy, DASChange& change) const {
    change.schema = m_schemaName == routedBy ? m_schemaName : std::string();
    change.reason = DASUtils::unescapeSqlReservedCharacters(m_reason);
}

std::string DataAccessObject::schemaName() {
    return m_schemaName;
}
