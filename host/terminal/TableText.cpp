// Widths are counted in columns of a terminal, not in bytes or characters. The widest columns are
// narrowed first, so that short ones stay readable, and never so far that a number is cut.

#include "terminal/TableText.h"

#include <algorithm>
#include <numeric>

#include "terminal/TerminalText.h"

namespace {

using Widths = std::vector<std::size_t>;

constexpr std::size_t Gap = 2;        ///< blanks between columns
constexpr std::size_t Narrowest = 6;  ///< a column that is cut further can't be read
constexpr std::size_t NarrowestProse = 20;
constexpr std::size_t NarrowestTerminal = 20;  ///< a table for a narrower terminal has this width
constexpr const char* Bold = "\x1b[1m";
constexpr const char* Normal = "\x1b[0m";

Widths widthsOf(const Sheet& sheet) {
    Widths widths;
    for (std::size_t i = 0; i < sheet.columns.size(); ++i) {
        std::size_t width = TerminalText::width(sheet.columns[i]);
        for (const auto& row : sheet.rows) {
            width = std::max(width, TerminalText::width(row[i]));
        }
        widths.push_back(width);
    }
    return widths;
}

std::size_t totalOf(const Widths& widths) {
    return std::accumulate(widths.begin(), widths.end(), std::size_t{0}) +
           (widths.empty() ? 0 : (widths.size() - 1) * Gap);
}

/// Whether @p text is a telephone number, which would be another number if it were cut.
bool isNumber(const std::string& text) {
    return text.find_first_of("0123456789") != std::string::npos &&
           text.find_first_not_of("0123456789+-*#()./ ") == std::string::npos;
}

/// The minimum width of each column.
Widths floorsOf(const Sheet& sheet) {
    Widths floors(sheet.columns.size(), sheet.isProse ? NarrowestProse : Narrowest);
    for (const auto& row : sheet.rows) {
        for (std::size_t i = 0; i < floors.size(); ++i) {
            floors[i] = isNumber(row[i]) ? std::max(floors[i], row[i].size()) : floors[i];
        }
    }
    return floors;
}

/// Narrows the widest column that can be narrowed, until all columns fit. False if that is not
/// possible.
bool fit(Widths& widths, const Widths& floors, std::size_t width) {
    while (totalOf(widths) > width) {
        std::size_t widest = widths.size();
        for (std::size_t i = 0; i < widths.size(); ++i) {
            const bool isWider = widest == widths.size() || widths[i] > widths[widest];
            widest = widths[i] > floors[i] && isWider ? i : widest;
        }
        if (widest == widths.size()) {
            return false;
        }
        --widths[widest];
    }
    return true;
}

/// Blanks are written only before the next cell with text, so that no line ends with blanks.
std::string lineOf(const std::vector<std::string>& cells, const Widths& widths) {
    std::string line;
    std::size_t blanks = 0;
    for (std::size_t i = 0; i < widths.size(); ++i) {
        const std::string cell = TerminalText::cut(cells[i], widths[i]);
        if (!cell.empty()) {
            line += std::string(blanks, ' ') + cell;
            blanks = 0;
        }
        blanks += widths[i] - TerminalText::width(cell) + Gap;
    }
    return line;
}

/// @p text in pieces of at most @p width columns, split at blanks; a longer word is cut.
std::vector<std::string> broken(const std::string& text, std::size_t width) {
    if (TerminalText::width(text) <= width) {
        return {TerminalText::visible(text)};
    }
    std::vector<std::string> pieces = {""};
    for (std::size_t begin = 0; begin < text.size();) {
        const std::size_t end = std::min(text.find(' ', begin), text.size());
        const std::string word = TerminalText::cut(text.substr(begin, end - begin), width);
        const std::string longer = pieces.back().empty() ? word : pieces.back() + " " + word;
        if (TerminalText::width(longer) <= width) {
            pieces.back() = longer;
        } else {
            pieces.push_back(word);
        }
        begin = end + 1;
    }
    return pieces;
}

/// A row of prose, with as many lines as its longest cell needs.
std::string proseOf(const std::vector<std::string>& row, const Widths& widths) {
    std::vector<std::vector<std::string>> pieces;
    std::size_t lines = 1;
    for (std::size_t i = 0; i < widths.size(); ++i) {
        pieces.push_back(broken(row[i], widths[i]));
        lines = std::max(lines, pieces.back().size());
    }
    std::string text;
    for (std::size_t line = 0; line < lines; ++line) {
        std::vector<std::string> cells;
        for (const auto& cell : pieces) {
            cells.push_back(line < cell.size() ? cell[line] : "");
        }
        text += lineOf(cells, widths) + "\n";
    }
    return text;
}

std::string tableOf(const Sheet& sheet, const Widths& widths, bool isBold) {
    const std::string names = lineOf(sheet.columns, widths);
    std::string text = (isBold ? Bold + names + Normal : names) + "\n";
    for (const auto& row : sheet.rows) {
        text += sheet.isProse ? proseOf(row, widths) : lineOf(row, widths) + "\n";
    }
    return text;
}

bool isBlank(const Sheet& sheet, std::size_t column) {
    return std::all_of(sheet.rows.begin(), sheet.rows.end(),
                       [column](const auto& row) { return row[column].empty(); });
}

/// The columns in @p names that are not blank in all rows, in that order.
Sheet filled(const Sheet& sheet, const std::vector<std::string>& names) {
    Sheet rest{
        {}, std::vector<std::vector<std::string>>(sheet.rows.size()), sheet.isProse, sheet.isTable};
    for (const std::string& name : names) {
        const auto found = std::find(sheet.columns.begin(), sheet.columns.end(), name);
        const auto place = static_cast<std::size_t>(found - sheet.columns.begin());
        if (found == sheet.columns.end() || (!sheet.rows.empty() && isBlank(sheet, place))) {
            continue;
        }
        rest.columns.push_back(name);
        for (std::size_t row = 0; row < sheet.rows.size(); ++row) {
            rest.rows[row].push_back(sheet.rows[row][place]);
        }
    }
    return rest;
}

/// If columns are too narrow for sentences: each cell on lines of its own.
std::string proseRecordOf(const std::vector<std::string>& row, std::size_t width) {
    std::string text;
    for (const std::string& cell : row) {
        for (const std::string& piece : broken(cell, width)) {
            text += piece + "\n";
        }
    }
    return text;
}

/// Each value on a line, the values aligned, and a blank line between rows. A number that does not
/// fit after its name has a line to itself.
std::string recordsOf(const Sheet& sheet, std::size_t width, bool isBold) {
    std::size_t names = 0;
    for (const std::string& column : sheet.columns) {
        names = std::max(names, std::min(TerminalText::width(column), width / 2));
    }
    std::string text;
    for (const auto& row : sheet.rows) {
        text += text.empty() ? "" : "\n";
        if (sheet.isProse) {
            text += proseRecordOf(row, width);
            continue;
        }
        for (std::size_t i = 0; i < sheet.columns.size(); ++i) {
            const std::string name = TerminalText::cut(sheet.columns[i], names);
            const std::size_t space = width - names - 1;
            const std::string value = isNumber(row[i]) ? row[i] : TerminalText::cut(row[i], space);
            text += isBold ? Bold + name + Normal : name;
            if (value.size() > space && isNumber(value)) {
                text += "\n";
            } else if (!value.empty()) {
                text += std::string(names - TerminalText::width(name) + 1, ' ');
            }
            text += value + "\n";
        }
    }
    return text;
}

}  // namespace

std::string TableText::aligned(const Sheet& sheet) {
    return tableOf(sheet, widthsOf(sheet), false);
}

Sheet TableText::forPeople(const Sheet& sheet) {
    return filled(sheet, sheet.chosen.empty() ? sheet.columns : sheet.chosen);
}

std::string TableText::fitting(const Sheet& sheet, std::size_t terminal, bool isBold) {
    const std::size_t width = std::max(terminal, NarrowestTerminal);
    if (sheet.rows.empty() && sheet.isTable) {
        return "no rows\n";
    }
    Widths widths = widthsOf(sheet);
    if (fit(widths, floorsOf(sheet), width)) {
        return tableOf(sheet, widths, isBold);
    }
    if (sheet.rows.empty()) {
        return "no rows\n";
    }
    const Sheet rest = filled(sheet, sheet.columns);
    widths = widthsOf(rest);
    return fit(widths, floorsOf(rest), width) ? tableOf(rest, widths, isBold)
                                              : recordsOf(rest, width, isBold);
}
