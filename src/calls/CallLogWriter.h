#ifndef CALLLOGWRITER_H
#define CALLLOGWRITER_H

#include <string>
#include <vector>

#include "calls/CallLogColumns.h"

/**
 * The rows of calls and contacts in answers, for the call log and for conversations. A row may hold
 * both tables side by side, so each function is given the place where its columns begin. Cells
 * stand as they are stored, and only as far as the row reaches: a cell that it does not have gets
 * no tag.
 */
namespace CallLogWriter {

/// Which calls a request is about: those of one category, or all.
enum Kind : int { Dialled = 1, Forwarded, Missed, Received, All, AllWithContacts };

/// The category as the table holds it; empty for the kinds of all calls.
const std::string& categoryOf(Kind kind);

/// The words of ResultCols that ask for all columns of a table.
const std::string& allOfCallLog();
const std::string& allOfPhoneBook();

/// The tags around a value, made once for many rows.
struct Tags {
    explicit Tags(const std::string& element);

    std::string start;
    std::string end;
};

/// Tags of a column of the call log's row.
const Tags& tagsOf(CallLogColumns::RowColumn column);

/// Appends the cell at @p place of @p row between its tags.
void appendCell(std::string& out, const std::vector<std::string>& row, std::size_t place,
                const Tags& tags);

/**
 * Appends a row of the call log to @p out. Which of its fields are shown follows from the category:
 * that of @p kind, or the row's own where the kind has all. A place without a time is left out.
 */
void parseAllCallLogCols(std::string& out, const std::vector<std::string>& row, std::size_t offset,
                         Kind kind);

/// Columns of the phone book that an answer may begin with.
constexpr std::size_t UserOfContact = 0;
constexpr std::size_t SurnameOfContact = 2;

/// Appends the cells of a contact to @p out, from its column @p first on.
void parseAllPhoneBookCols(std::string& out, const std::vector<std::string>& row,
                           std::size_t offset, std::size_t first);

}  // namespace CallLogWriter

#endif
