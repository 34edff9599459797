#ifndef ANSWERREADER_H
#define ANSWERREADER_H

#include <string>
#include <utility>
#include <vector>

/**
 * Reads the answers of the service, whose cells are not escaped and so may hold anything.
 *
 * A cell ends at its end tag when the next tag follows at once; a stored text that imitates that is
 * cut there. No parser of XML could read such an answer at all.
 */
namespace AnswerReader {

using Cells = std::vector<std::pair<std::string, std::string>>;  ///< element and value, in order

struct Row {
    std::string user;        ///< of the context around it; blank without one
    bool isSetting = false;  ///< an item of settings, whose one cell is its name and value
    Cells cells;
    std::vector<Cells> items;  ///< of the row's list: the calls
};

/// The rows of @p answer, which is that of a read.
std::vector<Row> rowsOf(const std::string& answer);

}  // namespace AnswerReader

#endif
