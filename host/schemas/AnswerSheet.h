#ifndef ANSWERSHEET_H
#define ANSWERSHEET_H

#include <string>
#include <vector>

#include "schemas/KnownSchemas.h"
#include "terminal/Sheet.h"

/// Answers of the service as sheets.
namespace AnswerSheet {

/**
 * The rows of @p answer.
 *
 * Columns come in the order of the schema, or are those of @p columns if there are any; a row of
 * the call log gives a line for each call in it. Settings have the columns Context, Name and Value,
 * and @p columns names the items that are shown.
 */
Sheet of(const KnownSchemas::Entry& schema, const std::string& answer,
         const std::vector<std::string>& columns);

/// Leaves @p limit rows from @p offset on.
void cut(Sheet& sheet, std::size_t offset, std::size_t limit);

}  // namespace AnswerSheet

#endif
