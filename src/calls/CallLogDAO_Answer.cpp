// Writes the rows of a read for the client: whole calls with their contact, or single cells, as
// ResultCols asks.

#include <algorithm>
#include <iterator>

#include "calls/CallLogDAO.h"

using namespace DASUtilsStrings;
using CallLogColumns::RowColumn;

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
    static const std::string prefix = CallLogTableName + ".";
    const std::string name =
        word.compare(0, prefix.size(), prefix) == 0 ? word.substr(prefix.size()) : word;
    const auto* const found =
        std::find_if(std::begin(CallLogEntries::Columns), std::end(CallLogEntries::Columns),
                     [&](RowColumn column) { return CallLogColumns::name(column) == name; });
    return found != std::end(CallLogEntries::Columns) ? std::optional(*found) : std::nullopt;
}
