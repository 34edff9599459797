#ifndef ANSWERREADER_H
#define ANSWERREADER_H

#include <string>
#include <utility>
#include <vector>

#include "schemas/KnownSchemas.h"

/**
 * Reads the answers of the service, whose cells are not escaped and so may hold anything.
 *
 * An answer is cut by the columns that its rows have, in their order: docs/requests.md has the rule
 * under "How to take an answer apart". A value that looks like markup can change its own row, and
 * can look like a further one; it never hides another row.
 */
namespace AnswerReader {

using Cells = std::vector<std::pair<std::string, std::string>>;  ///< element and value, in order

struct Row {
    std::string user;        ///< of the context around it; blank without one
    bool isSetting = false;  ///< an item of settings, whose one cell is its name and value
    Cells cells;
    std::vector<Cells> items;  ///< of the row's list: the calls
};

/// The rows of @p answer, which is that of a read of @p schema. @p asked are the columns that the
/// request named; none where it asked for whole rows.
std::vector<Row> rowsOf(const KnownSchemas::Entry& schema, const std::vector<std::string>& asked,
                        const std::string& answer);

}  // namespace AnswerReader

#endif
