#include "terminal/TableText.h"

#include <algorithm>
#include <numeric>

#include "terminal/TerminalText.h"

namespace {

using Widths = std::vector<std::size_t>;

constexpr std::size_t Gap = 2;        ///< blanks between columns
constexpr std::size_t Narrowest = 6;  ///< a column that is cut further can't be read
constexpr std::size_t NarrowestProse = 20;
constexpr std::size_t NarrowestTerminal = 10;  ///< below, nothing would be left of names and values
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

/// Takes from the widest column until all fit. False when they can't.
bool fit(Widths& widths, std::size_t width, std::size_t narrowest) {
    while (totalOf(widths) > width) {
        const auto widest = std::max_element(widths.begin(), widths.end());
        if (*widest <= narrowest) {
            return false;
        }
        --*widest;
    }
    return true;
}

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

/// @p text in pieces of at most @p width columns, parted at blanks; a word that is longer is cut.
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

/// A row of prose: as many lines as its longest cell needs.
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

/// The columns in which any row has something.
Sheet withoutBlankColumns(const Sheet& sheet) {
    Sheet rest{{}, {}, sheet.isProse};
    rest.rows.resize(sheet.rows.size());
    for (std::size_t i = 0; i < sheet.columns.size(); ++i) {
        const bool isBlank = std::all_of(sheet.rows.begin(), sheet.rows.end(),
                                         [i](const auto& row) { return row[i].empty(); });
        if (isBlank) {
            continue;
        }
        rest.columns.push_back(sheet.columns[i]);
        for (std::size_t row = 0; row < sheet.rows.size(); ++row) {
            rest.rows[row].push_back(sheet.rows[row][i]);
        }
    }
    return rest;
}

/// A line a value, a blank line between rows.
std::string recordsOf(const Sheet& sheet, std::size_t width, bool isBold) {
    std::string text;
    for (const auto& row : sheet.rows) {
        text += text.empty() ? "" : "\n";
        for (std::size_t i = 0; i < sheet.columns.size(); ++i) {
            if (sheet.isProse) {
                for (const std::string& piece : broken(row[i], width)) {
                    text += piece + "\n";
                }
                continue;
            }
            const std::string name = TerminalText::cut(sheet.columns[i], width / 2);
            const std::size_t taken = TerminalText::width(name) + 1;
            const std::string value = TerminalText::cut(row[i], width - std::min(taken, width));
            text +=
                (isBold ? Bold + name + Normal : name) + (value.empty() ? "" : " " + value) + "\n";
        }
    }
    return text;
}

}  // namespace

std::string TableText::aligned(const Sheet& sheet) {
    return tableOf(sheet, widthsOf(sheet), false);
}

std::string TableText::fitting(const Sheet& sheet, std::size_t terminal, bool isBold) {
    const std::size_t width = std::max(terminal, NarrowestTerminal);
    const std::size_t narrowest = sheet.isProse ? NarrowestProse : Narrowest;
    Widths widths = widthsOf(sheet);
    if (fit(widths, width, narrowest)) {
        return tableOf(sheet, widths, isBold);
    }
    if (sheet.rows.empty()) {
        return "no rows\n";
    }
    const Sheet rest = withoutBlankColumns(sheet);
    widths = widthsOf(rest);
    return fit(widths, width, narrowest) ? tableOf(rest, widths, isBold)
                                         : recordsOf(rest, width, isBold);
}
