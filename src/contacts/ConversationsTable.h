#ifndef CONVERSATIONSTABLE_H
#define CONVERSATIONSTABLE_H

#include <string>
#include <vector>

#include "dao/ListDAO.h"

/// Columns of CONVERSATIONS that statements name. Each holds the number of a row: of the contact or
/// of the calls that the conversation joins.
namespace ConversationsColumns {
extern const std::string NumberColumn;
extern const std::string ContactColumn;
extern const std::string CallColumn;
}  // namespace ConversationsColumns

/**
 * The table CONVERSATIONS, without its requests. The phone book creates it if it is missing,
 * because a read of contacts leaves out those that conversations show.
 */
class ConversationsTable : public ListDAO {
public:
    /// @p adapter is not owned and may be null.
    explicit ConversationsTable(DatabaseAdapter* adapter);

    /// 0 when the table was created, 2 when it is there already, 1 for any other failure.
    int createTable() override;

    /// The subquery for all numbers in @p column (ContactColumn or CallColumn) of all
    /// conversations. It leaves out NULL: a comparison with NULL is never true, so NOT IN would
    /// match no row at all.
    static std::string allNamedIn(const std::string& column);

protected:
    /// The columns that are fields of requests.
    static const std::vector<std::string>& fields();
};

#endif
