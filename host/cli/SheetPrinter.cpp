// A format is a function that turns a sheet into a string. The string is written at once, so that a
// closed pipe is noticed and a terminal shows whole tables.

#include "cli/SheetPrinter.h"

#include <algorithm>
#include <cstdio>
#include <nlohmann/json.hpp>

#include "cli/Arguments.h"
#include "terminal/Complaint.h"
#include "terminal/NearMisses.h"
#include "terminal/Output.h"
#include "terminal/Quotes.h"
#include "terminal/TableText.h"
#include "terminal/TerminalText.h"
#include "terminal/Utf8.h"

namespace {

const std::vector<std::string> FormatNames = {"raw", "json", "table", "csv"};

std::string csvCell(const std::string& text) {
    return text.find_first_of(",\"\r\n") == std::string::npos ? text : quoted(text, '"', "\"\"");
}

/// @p cellText converts a cell to the form that the format needs.
template <typename CellText>
void appendLine(std::string& text, const std::vector<std::string>& cells, char between,
                CellText cellText) {
    for (std::size_t i = 0; i < cells.size(); ++i) {
        text += (i > 0 ? std::string(1, between) : "") + cellText(cells[i]);
    }
    text += '\n';
}

template <typename CellText>
std::string linesOf(const Sheet& sheet, char between, CellText cellText) {
    std::string text;
    appendLine(text, sheet.columns, between, cellText);
    for (const auto& row : sheet.rows) {
        appendLine(text, row, between, cellText);
    }
    return text;
}

/// The control characters that JSON allows unescaped: 7F, and C2 80 to C2 9F.
std::string withoutControls(std::string_view json) {
    std::string text;
    while (!json.empty()) {
        char32_t number = 0;
        const std::string_view character = Utf8::first(json, number);
        if (number >= 0x7f && number < 0xa0) {
            char escape[8];
            std::snprintf(escape, sizeof escape, "\\u%04x", static_cast<unsigned>(number));
            text += escape;
        } else {
            text += character;
        }
        json.remove_prefix(character.size());
    }
    return text;
}

/// Cells are always strings, because the service stores text, and "007" is not a number. Bytes that
/// are not valid UTF-8, which JSON can't carry, are replaced.
std::string jsonOf(const Sheet& sheet) {
    auto all = nlohmann::ordered_json::array();
    for (const auto& row : sheet.rows) {
        nlohmann::ordered_json object = nlohmann::ordered_json::object();
        for (std::size_t i = 0; i < sheet.columns.size() && i < row.size(); ++i) {
            object[sheet.columns[i]] = row[i];
        }
        all.push_back(std::move(object));
    }
    return withoutControls(all.dump(2, ' ', false, nlohmann::json::error_handler_t::replace)) +
           "\n";
}

}  // namespace

bool SheetPrinter::check(const Arguments& arguments) {
    const auto format = arguments.value("--output");
    const bool isKnown =
        !format || std::find(FormatNames.begin(), FormatNames.end(), *format) != FormatNames.end();
    if (!isKnown) {
        Complaint::report("--output " + *format + ": no such format",
                          NearMisses::question(*format, FormatNames, "raw, json, table or csv"));
    }
    return isKnown;
}

SheetPrinter::SheetPrinter(const Arguments& arguments, Output& output)
    : m_format(formatOf(arguments, output)),
      m_isForPeople((m_format == Format::Table || m_format == Format::Terminal) &&
                    !arguments.has("--cols")),
      m_output(output) {}

SheetPrinter::Format SheetPrinter::formatOf(const Arguments& arguments, const Output& output) {
    const auto found =
        std::find(FormatNames.begin(), FormatNames.end(), arguments.text("--output"));
    if (found != FormatNames.end()) {
        return static_cast<Format>(found - FormatNames.begin());
    }
    return output.isTerminal() && !arguments.has("--plain") ? Format::Terminal : Format::Plain;
}

std::string SheetPrinter::textOf(const Sheet& sheet, const std::string& raw) const {
    switch (m_format) {
        case Format::Raw:
            if (!raw.empty()) {
                return raw + "\n";
            }
            [[fallthrough]];
        case Format::Plain:
            return linesOf(sheet, '\t', TerminalText::visible);
        case Format::Json:
            return jsonOf(sheet);
        case Format::Table:
            return TableText::aligned(sheet);
        case Format::Csv:
            return linesOf(sheet, ',', csvCell);
        case Format::Terminal:
            break;
    }
    return TableText::fitting(sheet, m_output.columns(), m_output.mayColour());
}

int SheetPrinter::print(const Sheet& sheet, const std::string& raw) {
    const std::string text = m_isForPeople && sheet.isTable
                                 ? textOf(TableText::forPeople(sheet), raw)
                                 : textOf(sheet, raw);
    return m_output.print(text);
}
