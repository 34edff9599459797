#ifndef CONVERSATIONSTABLE_H
#define CONVERSATIONSTABLE_H

#include <string>

#include "dao/DataAccessObject.h"

/// Columns of CONVERSATIONS that statements name.
namespace ConversationsColumns {
extern const std::string numberColumn;
extern const std::string contactColumn;
extern const std::string callColumn;
}  // namespace ConversationsColumns

/**
 * The table CONVERSATIONS, without its requests. The phone book makes it when it is missing, since
 * a read of contacts leaves out those that conversations show.
 */
class ConversationsTable : public DataAccessObject {
public:
    /// @p adapter is not owned and may be null.
    explicit ConversationsTable(DatabaseAdapter* adapter);

    /// 0 when the table was created, 2 when it is there already, 1 for any other failure.
    int createTable() override;

    /// The subquery for what @p column names, contactColumn or callColumn, in all conversations. It
    /// has no NULL: a comparison with one is never true, so NOT IN would match no row at all.
    static std::string allNamedIn(const std::string& column);
};

#endif
