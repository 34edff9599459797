#ifndef USERTABLES_H
#define USERTABLES_H

#include <memory>
#include <string>
#include <vector>

#include "dao/DataAccessObject.h"

// Tables of the two users that consist only of data. In each constructor the adapter is not owned
// and may be null.

/// The common frame: requests are those of a generic object. Rows can be exported and imported. A
/// row of a file may hold any text and may be new.
class UserTableDAO : public DataAccessObject {
public:
    UserTableDAO(DatabaseAdapter* adapter, std::shared_ptr<const TableLayout> layout);

    /// Updates the row that the first two values name (context and "Id"), or inserts it. 1 if the
    /// "Id" is not a number. Fewer values than columns throw std::out_of_range.
    int updateItemInTable(const std::string& table, std::vector<std::string>& names,
                          std::vector<std::string>& values) override;
};

/// Counters of how often functions were used, and when they were used last.
class AnalyticsDAO : public UserTableDAO {
public:
    explicit AnalyticsDAO(DatabaseAdapter* adapter);
};

/// Keys that show and answer the calls of another line: the address of that line, and how it rings.
class DssKeySettingsDAO : public UserTableDAO {
public:
    explicit DssKeySettingsDAO(DatabaseAdapter* adapter);
};

/// Where each forwarding key sends calls, and which kind of forwarding it switches. A migration
/// relies on exactly these four columns.
class ForwardingKeyDestinationsDAO : public UserTableDAO {
public:
    explicit ForwardingKeyDestinationsDAO(DatabaseAdapter* adapter);
};

#endif
