#ifndef TABLETEXT_H
#define TABLETEXT_H

#include <cstddef>
#include <string>

#include "terminal/Sheet.h"

/**
 * Sheets as text with aligned columns. Control characters of cells are made visible.
 *
 * A table that is asked for by name is the same everywhere and cuts nothing. What a terminal gets
 * without being asked may leave out and cut, but never a number: a cut telephone number is another
 * one.
 */
namespace TableText {

/// What people look for in @p sheet: its chosen columns, without those that are blank in all rows.
Sheet forPeople(const Sheet& sheet);

/// Each column as wide as it needs to be.
std::string aligned(const Sheet& sheet);

/// For a terminal of @p terminal columns: columns that are blank in each row are left out where all
/// would not fit, and the widest columns are cut as far as needed, but no number is. Where columns
/// would become too narrow to be read, each value has a line to itself, the values aligned; without
/// rows that is said in words. @p isBold makes names bold.
std::string fitting(const Sheet& sheet, std::size_t terminal, bool isBold);

}  // namespace TableText

#endif
