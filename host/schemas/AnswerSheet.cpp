// An answer has what the service stores; a sheet has what a person or a script reads. Its columns
// have the order of the table and not of the answer, so that two answers of one schema can be
// compared line by line.

#include "schemas/AnswerSheet.h"

#include <algorithm>

#include "schemas/AnswerReader.h"
#include "schemas/RequestText.h"
#include "terminal/TextParts.h"

namespace {

using AnswerReader::Cells;
using AnswerReader::Row;
using TextParts::contains;

void addMissing(std::vector<std::string>& columns, const Cells& cells) {
    for (const auto& [name, value] : cells) {
        if (!contains(columns, name)) {
            columns.push_back(name);
        }
    }
}

/// The columns of the answer: first the schema's columns that occur in a row, then any others.
std::vector<std::string> columnsOf(const KnownSchemas::Entry& schema,
                                   const std::vector<Row>& rows) {
    std::vector<std::string> found;
    for (const Row& row : rows) {
        addMissing(found, row.cells);
        for (const Cells& item : row.items) {
            addMissing(found, item);
        }
    }
    std::vector<std::string> columns;
    for (const auto* known : {&schema.elements, &schema.itemElements}) {
        std::copy_if(
            known->begin(), known->end(), std::back_inserter(columns),
            [&](const std::string& name) { return rows.empty() || contains(found, name); });
    }
    std::copy_if(found.begin(), found.end(), std::back_inserter(columns),
                 [&](const std::string& name) { return !contains(columns, name); });
    return columns;
}

std::string cellOf(const Cells& cells, const std::string& name) {
    const auto found = std::find_if(cells.begin(), cells.end(),
                                    [&](const auto& cell) { return cell.first == name; });
    return found == cells.end() ? "" : found->second;
}

void addLine(Sheet& sheet, const Row& row, const Cells& item) {
    std::vector<std::string> line;
    for (const std::string& column : sheet.columns) {
        const std::string ofItem = cellOf(item, column);
        line.push_back(ofItem.empty() ? cellOf(row.cells, column) : ofItem);
    }
    sheet.rows.push_back(std::move(line));
}

/// The columns that people need of contacts and calls; all columns of other rows.
std::vector<std::string> chosenOf(const KnownSchemas::Entry& schema) {
    if (!schema.itemElements.empty()) {
        return {"TimeDate", "Category", "Number", "Surname", "Firstname", "Duration"};
    }
    if (schema.table == "PHONE_BOOK") {
        return {"UniqueID", "Surname", "Firstname", "Office", "Mobile", "Private", "Email"};
    }
    return {};
}

Sheet settingsOf(const std::vector<Row>& rows, const std::vector<std::string>& names) {
    Sheet sheet{{"Context", "Name", "Value"}, {}};
    for (const Row& row : rows) {
        const auto& [name, value] = row.cells.front();
        if (names.empty() || contains(names, name)) {
            sheet.rows.push_back({row.user, name, value});
        }
    }
    return sheet;
}

}  // namespace

Sheet AnswerSheet::of(const KnownSchemas::Entry& schema, const std::string& answer,
                      const std::vector<std::string>& columns) {
    const bool isAsked = RequestText::formOf(schema) == RequestText::Form::Rows;
    const auto rows =
        AnswerReader::rowsOf(schema, isAsked ? columns : std::vector<std::string>(), answer);
    if (schema.elements.empty()) {
        return settingsOf(rows, columns);
    }
    Sheet sheet{
        columns.empty() ? columnsOf(schema, rows) : columns, {}, false, true, chosenOf(schema)};
    for (const Row& row : rows) {
        if (row.items.empty()) {
            addLine(sheet, row, {});
        }
        for (const Cells& item : row.items) {
            addLine(sheet, row, item);
        }
    }
    return sheet;
}

void AnswerSheet::cut(Sheet& sheet, std::size_t offset, std::size_t limit) {
    const std::size_t first = std::min(offset, sheet.rows.size());
    sheet.rows.erase(sheet.rows.begin(), sheet.rows.begin() + static_cast<std::ptrdiff_t>(first));
    sheet.rows.resize(std::min(limit, sheet.rows.size()));
}
