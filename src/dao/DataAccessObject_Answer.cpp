// The answer of an object: its frame, and the rows of a read as entries. Rows become text while
// they are read, since an answer of all rows is large and should be in memory once.

#include <cstring>
#include <string_view>
#include <utility>

#include "AnswerLimit.h"
#include "Log.h"
#include "Secrets.h"
#include "dao/DataAccessObject.h"
#include "database/AdapterGuards.h"
#include "database/DatabaseAdapter.h"

namespace {

/// Space reserved for what getResponseMsg adds around the body. An answer is as large as all of its
/// rows, so it should not be reallocated.
constexpr std::size_t FrameSize = 256;

const std::string ContextStart = "<Context currentUser=\"";
const std::string ContextStartEnd = "\">";
const std::string ContextEnd = "</Context>";

const std::string NotEnoughMemory = "<FailureMessage>Not enough memory</FailureMessage>";
const std::string DiskError = "<FailureMessage>Disk error</FailureMessage>";
const std::string NoDetail;

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

/// A word that is not the name of a column shows nothing; its cells are skipped.
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

/// The size is computed first, so that the string is allocated once: a growing string is in memory
/// twice for a moment.
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

}  // namespace

const char* const DataAccessObject::xmlHeaderTag = "<?xml version=\"1.0\" encoding=\"utf-8\"?>";
const char* const DataAccessObject::xmlSchemaStart = "<Schema name=\"";
const char* const DataAccessObject::xmlSchemaEnd = "\">";
const char* const DataAccessObject::xmlReasonStart = "<ReasonForMessage>";
const char* const DataAccessObject::xmlReasonEnd = "</ReasonForMessage>";
const char* const DataAccessObject::xmlSchemaClose = "</Schema>";

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
            body = std::move(entries);  // most answers consist of one piece, which needs no copy
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
        text.insert(0, ContextStart + DASUtils::unescapeSqlReservedCharacters(m_requestContext) +
                           ContextStartEnd);
        text += ContextEnd;
    }
    return text;
}

std::string DataAccessObject::responseReason() {
    return m_responseReason;
}

const std::string& DataAccessObject::generateDetailedFailureMessage() const {
    switch (m_status) {
        case StatusOutOfResources:
            return NotEnoughMemory;
        case StatusDiskError:
            return DiskError;
        default:
            return NoDetail;
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
        (inContext ? ContextStart.size() + user.size() + ContextStartEnd.size() + ContextEnd.size()
                   : 0));
    if (inContext) {
        text += ContextStart;
        text += user;
        text += ContextStartEnd;
    }
    appendEntries(text, rows, cells);
    if (inContext) {
        text += ContextEnd;
    }
    return text;
}
