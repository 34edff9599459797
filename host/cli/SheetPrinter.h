#ifndef SHEETPRINTER_H
#define SHEETPRINTER_H

#include <cstddef>
#include <string>

#include "terminal/Sheet.h"

class Arguments;
class Output;

/**
 * Prints data as the options --output and --plain ask for it.
 *
 * A format that is asked for gives the same bytes everywhere. Without one, a terminal gets an
 * aligned table that fits it, or a line a value when it is too narrow for that, and everything else
 * gets plain text: a line of names and a line a row, with tabs between the cells. Only "raw" and
 * "csv" carry control characters of stored texts; there they are data.
 */
class SheetPrinter {
public:
    /// Looks at the options. False when there is no such format, which has been reported then.
    static bool check(const Arguments& arguments);

    /// @p output must outlive the printer.
    SheetPrinter(const Arguments& arguments, Output& output);

    /// Whether a terminal is filled, where what does not fit may be left out.
    bool isForTerminal() const { return m_format == Format::Terminal; }

    /// Prints @p sheet; @p raw, the answer of the service, in its place when "raw" is asked for. A
    /// blank @p raw stands for plain text. Returns the exit status; a failed write has been
    /// reported.
    int print(const Sheet& sheet, const std::string& raw = "");

private:
    /// Those that have a name in --output stand first, in the order of their names.
    enum class Format { Raw, Json, Table, Csv, Plain, Terminal };

    /// The format that the options ask for, else the one that fits where the output goes.
    static Format formatOf(const Arguments& arguments, const Output& output);
    /// @p sheet in the settled format, with its line feeds; @p raw as it is for "raw".
    std::string textOf(const Sheet& sheet, const std::string& raw) const;

    Format m_format;
    bool m_isForPeople;  ///< whether columns may be left out
    Output& m_output;
};

#endif
