#ifndef SHEETPRINTER_H
#define SHEETPRINTER_H

#include <cstddef>
#include <string>

#include "terminal/Sheet.h"

class Arguments;
class Output;

/**
 * Prints data as the options --output and --plain say.
 *
 * A format that was chosen by an option prints the same bytes everywhere. Without an option, a
 * terminal gets an aligned table that fits its width, or a line for each value if it is too narrow.
 * Any other output gets plain text: a line of names and a line for each row, with tabs between the
 * cells. Only "raw" and "csv" keep control characters of stored text, where they are data.
 */
class SheetPrinter {
public:
    /// Checks the options. False if there is no such format, which has been reported then.
    static bool check(const Arguments& arguments);

    /// @p output must outlive the printer.
    SheetPrinter(const Arguments& arguments, Output& output);

    /// Whether the output is fitted to a terminal, where columns may be left out or cut.
    bool isForTerminal() const { return m_format == Format::Terminal; }

    /// Prints @p sheet; if "raw" is asked for, prints @p raw, the answer of the service, instead.
    /// If @p raw is blank, plain text is printed. Returns the exit status; a failed write has been
    /// reported.
    int print(const Sheet& sheet, const std::string& raw = "");

private:
    /// Formats that have a name in --output come first, in the order of their names.
    enum class Format { Raw, Json, Table, Csv, Plain, Terminal };

    /// The format that the options select, else the one that fits the output.
    static Format formatOf(const Arguments& arguments, const Output& output);
    /// @p sheet in the selected format, with its line feeds; for "raw", @p raw unchanged.
    std::string textOf(const Sheet& sheet, const std::string& raw) const;

    Format m_format;
    bool m_isForPeople;  ///< whether columns may be left out
    Output& m_output;
};

#endif
