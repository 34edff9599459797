#ifndef ANSWERSHEET_H
#define ANSWERSHEET_H

#include <string>
#include <vector>

#include "schemas/KnownSchemas.h"
#include "terminal/Sheet.h"

/// Converts answers of the service to sheets.
namespace AnswerSheet {

/**
 * The rows of @p answer.
 *
 * The columns are those of @p columns or, if it is empty, all in the order of the schema. A row of
 * the call log becomes a line for each of its calls. Settings have the columns Context, Name and
 * Value, and @p columns names the items that are shown.
 */
Sheet of(const KnownSchemas::Entry& schema, const std::string& answer,
         const std::vector<std::string>& columns);

/// Keeps @p limit rows from @p offset on.
void cut(Sheet& sheet, std::size_t offset, std::size_t limit);

}  // namespace AnswerSheet

#endif
