#ifndef TABLETEXT_H
#define TABLETEXT_H

#include <cstddef>
#include <string>

#include "terminal/Sheet.h"

/**
 * Converts sheets to text with aligned columns. Control characters of cells are made visible.
 *
 * A table that was chosen by an option is the same everywhere and cuts nothing. The default output
 * of a terminal may leave out columns and cut cells, but never a number, since a cut telephone
 * number is another number.
 */
namespace TableText {

/// The part of @p sheet that people need: its chosen columns, without those that are blank in all
/// rows.
Sheet forPeople(const Sheet& sheet);

/// Each column has the width that it needs.
std::string aligned(const Sheet& sheet);

/// For a terminal of @p terminal columns. If not all columns fit, those that are blank in each row
/// are left out, and the widest ones are cut as far as needed, but no number is cut. If columns
/// would become too narrow to read, each value has a line to itself, the values aligned; if there
/// are no rows, a sentence says so. @p isBold makes names bold.
std::string fitting(const Sheet& sheet, std::size_t terminal, bool isBold);

}  // namespace TableText

#endif
