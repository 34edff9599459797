#include "dao/DataAccessObject.h"

#include <algorithm>
#include <cstring>
#include <numeric>
#include <string_view>
#include <utility>

#include "AnswerLimit.h"
#include "DASChangeListenerIfc.h"
#include "Secrets.h"
#include "database/AdapterGuards.h"
#include "database/DatabaseAdapter.h"
#include "database/LoggedText.h"
#include "database/Logging.h"

namespace {

constexpr const char* LogComponent = "DataAccessService";
constexpr const char* LogSource = "./src/DataAccessObject";

const std::string contextStart = "<Context currentUser=\"";
const std::string contextStartEnd = "\">";
const std::string contextEnd = "</Context>";

const std::string notEnoughMemory = "<FailureMessage>Not enough memory</FailureMessage>";
const std::string diskError = "<FailureMessage>Disk error</FailureMessage>";
const std::string noDetail;

constexpr int StatusOutOfResources = 2;
constexpr int StatusDiskError = 3;

/// A cell of each row, by its place in the row, and the tags around it.
struct Cell {
    std::size_t index;
    std::string startTag;
    std::string endTag;
    bool isHidden;

    std::string_view shown(const std::vector<std::string>& row) const {
        const std::string& value = row[index];
        return isHidden && !value.empty() ? Secrets::Mask : std::string_view(value);
    }
};

Cell makeCell(std::size_t index, const std::string& column) {
    Cell cell{index, {}, {}, Secrets::areHidden() && Secrets::isSecret(column)};
    DASUtils::createXMLStartTag(column, cell.startTag);
    DASUtils::createXMLEndTag(column, cell.endTag);
    return cell;
}

std::vector<Cell> cellsOfAllColumns(const std::vector<std::string>& columnNames,
                                    std::size_t firstIndex) {
    std::vector<Cell> cells;
    cells.reserve(columnNames.size());
    for (const std::string& name : columnNames) {
        cells.push_back(makeCell(firstIndex + cells.size(), name));
    }
    return cells;
}

/// Words that are no column's own name show nothing; their cells are passed over.
std::vector<Cell> cellsOfResultColumns(const std::vector<std::string>& resultColumns,
                                       const std::vector<std::string>& columnNames,
                                       std::size_t rowWidth) {
    const auto positions = DASUtils::positionsOfWords(resultColumns, rowWidth);
    std::vector<Cell> cells;
    for (std::size_t i = 0; i < resultColumns.size(); ++i) {
        if (DASUtils::columnIsInColumnList(resultColumns[i], columnNames)) {
            cells.push_back(makeCell(positions[i], resultColumns[i]));
        }
    }
    return cells;
}

std::size_t sizeOfEntries(const Rows& rows, const std::vector<Cell>& cells) {
    std::size_t tags =
        DASUtilsStrings::xmlEntryStartTag.size() + DASUtilsStrings::xmlEntryEndTag.size();
    for (const Cell& cell : cells) {
        tags += cell.startTag.size() + cell.endTag.size();
    }
    std::size_t size = rows.size() * tags;
    for (const auto& row : rows) {
        for (const Cell& cell : cells) {
            size += row.at(cell.index).size();
        }
    }
    return size;
}

void appendEntries(std::string& text, const Rows& rows, const std::vector<Cell>& cells) {
    for (const auto& row : rows) {
        text += DASUtilsStrings::xmlEntryStartTag;
        for (const Cell& cell : cells) {
            text += cell.startTag;
            text += cell.shown(row);
            text += cell.endTag;
        }
        text += DASUtilsStrings::xmlEntryEndTag;
    }
}

const std::shared_ptr<const TableLayout>& emptyLayout() {
    static const std::shared_ptr<const TableLayout> layout = std::make_shared<TableLayout>();
    return layout;
}

}  // namespace

const char* const DataAccessObject::xmlHeaderTag = "<?xml version=\"1.0\" encoding=\"utf-8\"?>";
const char* const DataAccessObject::xmlSchemaStart = "<Schema name=\"";
const char* const DataAccessObject::xmlSchemaEnd = "\">";
const char* const DataAccessObject::xmlReasonStart = "<ReasonForMessage>";
const char* const DataAccessObject::xmlReasonEnd = "</ReasonForMessage>";
const char* const DataAccessObject::xmlSchemaClose = "</Schema>";

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
    : m_dbAdapter(adapter),
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
    handleRequestHelper(
        text, length,
        {*this, *m_dbAdapter, m_tableName, m_startHandler, m_endHandler, m_charHandler,
         m_requestContext, m_reason, m_responseUser, m_responseReason});
}

bool DataAccessObject::hasAdapter() const {
    if (m_dbAdapter == nullptr) {
        DAS_LOG(2, "No database adapter for schema '%s'", m_schemaName.c_str());
    }
    return m_dbAdapter != nullptr;
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
        logAppUni(parser.logComponent, LogSource, 2, __LINE__, parser.failureFormat, shown.c_str());
    }
    return false;
}

bool DataAccessObject::settleUser() {
    m_responseUser = m_requestContext.empty() ? DASUtils::escapeSqlReservedCharacters(m_currentUser)
                                              : m_requestContext;
    return !m_responseUser.empty();
}

void DataAccessObject::handleRequestHelper(const char* text, int length,
                                           const DASUtils::RequestFrame& frame) {
    DASUtils::handleRequestHelper(text, length, frame);
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
    if (m_dbAdapter == nullptr) {
        return 1;
    }
    return DASUtils::updateRequestHelper(*m_dbAdapter, m_rowId, m_responseUser, m_tableName,
                                         m_newValues, m_rowsToWrite);
}

int DataAccessObject::readRequest() {
    if (m_dbAdapter == nullptr) {
        return 1;
    }
    const auto read = [this] {
        return DASUtils::readRequest(m_newValues, m_resultRows, m_resultColumns, m_resultColsText,
                                     m_responseUser, m_rowId, m_tableName, *m_dbAdapter);
    };
    return readEntries(read, shownColumns(), m_layout->skipFirstColumn);
}

std::vector<std::string> DataAccessObject::shownColumns() const {
    std::vector<std::string> names;
    names.reserve(columns().size());
    for (const auto& column : columns()) {
        if (column.name != DASUtilsStrings::UserContextTagName) {
            names.push_back(column.name);
        }
    }
    return names;
}

int DataAccessObject::readIntoBody(const std::function<int()>& read, const AppendRows& append) {
    bool fits = true;
    const auto take = [&](Rows& rows) {
        append(m_body, rows);
        rows.clear();
        fits = AnswerLimit::allows(m_body.size());
        return fits;
    };
    m_body.clear();
    const int result = readInPieces(*m_dbAdapter, m_resultRows, read, take);
    if (!fits) {
        DAS_LOG(2, "The answer of schema '%s' is too large: ask for fewer columns or rows",
                m_schemaName.c_str());
    }
    if (result != 0) {
        m_body = std::string();
    }
    return result;
}

int DataAccessObject::readEntries(const std::function<int()>& read,
                                  const std::vector<std::string>& names, bool skipFirstColumn) {
    return readIntoBody(read, [&](std::string& body, const Rows& rows) {
        std::string entries = responseDataHelper(DASUtilsStrings::ReadResponse, {}, {},
                                                 m_resultColumns, rows, names, skipFirstColumn);
        if (body.empty()) {
            body = std::move(entries);  // most answers are one piece
        } else {
            body += entries;
        }
    });
}

std::string DataAccessObject::takeEntries() {
    if (m_responseReason != DASUtilsStrings::ReadResponse) {
        return {};
    }
    std::string text = std::exchange(m_body, {});
    if (!m_requestContext.empty()) {
        text.insert(0, contextStart + DASUtils::unescapeSqlReservedCharacters(m_requestContext) +
                           contextStartEnd);
        text += contextEnd;
    }
    return text;
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

std::string DataAccessObject::responseReason() {
    return m_responseReason;
}

const std::string& DataAccessObject::generateDetailedFailureMessage() const {
    switch (m_status) {
        case StatusOutOfResources:
            return notEnoughMemory;
        case StatusDiskError:
            return diskError;
        default:
            return noDetail;
    }
}

std::string DataAccessObject::responseHeader() {
    std::string header;
    header.reserve(FrameSize);
    header += xmlHeaderTag;
    header += xmlSchemaStart;
    header += schemaName();
    header += xmlSchemaEnd;
    header += xmlReasonStart;
    header += responseReason();
    header += xmlReasonEnd;
    if (getStatus() != 0) {
        header += generateDetailedFailureMessage();
    }
    return header;
}

std::string DataAccessObject::getResponseMsg() {
    const std::string header = responseHeader();
    std::string message = responseData();
    message.reserve(header.size() + message.size() + std::strlen(xmlSchemaClose));
    message.insert(0, header);
    message += xmlSchemaClose;
    return message;
}

std::string DataAccessObject::responseData() {
    return takeEntries();
}

std::string DataAccessObject::responseDataHelper(
    const std::string& reason, const std::string& context, const std::string& user,
    const std::vector<std::string>& resultColumns, const Rows& rows,
    const std::vector<std::string>& columnNames, bool skipFirstColumn) {
    if (reason != DASUtilsStrings::ReadResponse) {
        return {};
    }
    const bool all = resultColumns.empty() ||
                     (resultColumns.size() == 1 && resultColumns.front() == m_tableName + ".*");
    const std::vector<Cell> cells =
        all ? cellsOfAllColumns(columnNames, skipFirstColumn ? 1 : 0)
            : cellsOfResultColumns(resultColumns, columnNames,
                                   rows.empty() ? 0 : rows.front().size());
    const bool inContext = !context.empty();
    std::string text;
    text.reserve(
        FrameSize + sizeOfEntries(rows, cells) +
        (inContext ? contextStart.size() + user.size() + contextStartEnd.size() + contextEnd.size()
                   : 0));
    if (inContext) {
        text += contextStart;
        text += user;
        text += contextStartEnd;
    }
    appendEntries(text, rows, cells);
    if (inContext) {
        text += contextEnd;
    }
    return text;
}
