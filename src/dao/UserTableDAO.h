#ifndef USERTABLEDAO_H
#define USERTABLEDAO_H

#include <string>
#include <vector>

#include "dao/DataAccessObject.h"

/// Tables of the two users whose rows travel in files: requests are those of a generic object, and
/// a row of a file may hold any text and need not be there yet.
class UserTableDAO : public DataAccessObject {
public:
    /// @p adapter is not owned and may be null.
    UserTableDAO(DatabaseAdapter* adapter, std::shared_ptr<const TableLayout> layout);
    ~UserTableDAO() override;

    /// Updates the row that the first two values name, context and "Id", or inserts it. 1 when the
    /// "Id" is no number. Fewer values than columns raise std::out_of_range.
    int updateItemInTable(const std::string& table, std::vector<std::string>& names,
                          std::vector<std::string>& values) override;

protected:
    /// A column behind the first two, and its default.
    using Column = std::pair<std::string, std::string>;

    /// The description of a table with data files: @p columns stand behind UserContext and "Id".
    static std::shared_ptr<const TableLayout> makeLayout(const std::string& schema,
                                                         const std::string& table,
                                                         const std::vector<std::string>& rowIds,
                                                         const std::vector<Column>& columns);
};

#endif
