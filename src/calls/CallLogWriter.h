#ifndef CALLLOGWRITER_H
#define CALLLOGWRITER_H

#include <string>
#include <vector>

#include "calls/CallLogColumns.h"

/**
 * The rows of calls and contacts in answers, for the call log and for conversations. A row may hold
 * the columns of both tables, so each function gets the position where its columns begin. Cells are
 * written as they are stored. If a row has fewer cells, the missing ones get no tag.
 */
namespace CallLogWriter {

/// Which calls a request shows: those of one category, or all.
enum Kind : int { Dialled = 1, Forwarded, Missed, Received, All, AllWithContacts };

/// The category as the table stores it; empty for the kinds that show all calls.
const std::string& categoryOf(Kind kind);

/// The words of ResultCols that select all columns of a table.
const std::string& allOfCallLog();
const std::string& allOfPhoneBook();

/// The tags around a value, built once for many rows.
struct Tags {
    explicit Tags(const std::string& element);

    std::string start;
    std::string end;
};

/// Tags of a column of the call log's row.
const Tags& tagsOf(CallLogColumns::RowColumn column);

/// Appends the cell at @p place of @p row with its tags.
void appendCell(std::string& out, const std::vector<std::string>& row, std::size_t place,
                const Tags& tags);

/**
 * Appends a row of the call log to @p out. The category decides which fields are shown: that of
 * @p kind or, if the kind has all calls, that of the row. A call without a time is left out.
 */
void parseAllCallLogCols(std::string& out, const std::vector<std::string>& row, std::size_t offset,
                         Kind kind);

/// Positions in a contact's row: an answer shows it from one of these columns on.
constexpr std::size_t UserOfContact = 0;
constexpr std::size_t SurnameOfContact = 2;

/// Appends the cells of a contact, which begin at the column @p first, to @p out.
void parseAllPhoneBookCols(std::string& out, const std::vector<std::string>& row,
                           std::size_t offset, std::size_t first);

}  // namespace CallLogWriter

#endif
