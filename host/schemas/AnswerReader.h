#ifndef ANSWERREADER_H
#define ANSWERREADER_H

#include <string>
#include <utility>
#include <vector>

#include "schemas/KnownSchemas.h"

/**
 * Reads the answers of the service. Their cells are not escaped, so a cell may contain any text.
 *
 * An answer is split by the columns of its rows, in their order; docs/requests.md describes the
 * rule under "How to take an answer apart". A value that looks like markup can change how its own
 * row is read, or look like an additional row, but it never hides another row.
 */
namespace AnswerReader {

using Cells = std::vector<std::pair<std::string, std::string>>;  ///< element and value, in order

struct Row {
    std::string user;        ///< user of the context around it; blank if there is no context
    bool isSetting = false;  ///< an item of settings, whose only cell is its name and value
    Cells cells;
    std::vector<Cells> items;  ///< the row's list: the calls
};

/// The rows of @p answer, which answers a read of @p schema. @p asked are the columns that the
/// request named; empty if it asked for whole rows.
std::vector<Row> rowsOf(const KnownSchemas::Entry& schema, const std::vector<std::string>& asked,
                        const std::string& answer);

}  // namespace AnswerReader

#endif
