#ifndef CONVERSATIONSTABLE_H
#define CONVERSATIONSTABLE_H

#include <string>
#include <vector>

#include "dao/ListDAO.h"

/// Columns of CONVERSATIONS that statements name.
/// They join a conversation to its contact and to its calls: each holds the number of a row there.
namespace ConversationsColumns {
extern const std::string NumberColumn;
extern const std::string ContactColumn;
extern const std::string CallColumn;
}  // namespace ConversationsColumns

/**
 * The table CONVERSATIONS, without its requests. The phone book makes it when it is missing, since
 * a read of contacts leaves out those that conversations show.
 */
class ConversationsTable : public ListDAO {
public:
    /// @p adapter is not owned and may be null.
    explicit ConversationsTable(DatabaseAdapter* adapter);

    /// 0 when the table was created, 2 when it is there already, 1 for any other failure.
    int createTable() override;

    /// The subquery for what @p column names, ContactColumn or CallColumn, in all conversations. It
    /// has no NULL: a comparison with one is never true, so NOT IN would match no row at all.
    static std::string allNamedIn(const std::string& column);

protected:
    /// The columns that are fields of requests.
    static const std::vector<std::string>& fields();
};

#endif
