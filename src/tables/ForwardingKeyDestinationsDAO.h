#ifndef FORWARDINGKEYDESTINATIONSDAO_H
#define FORWARDINGKEYDESTINATIONSDAO_H

#include "dao/UserTableDAO.h"

/// Where each forwarding key sends calls, and which kind of forwarding it switches. A migration
/// counts on exactly these four columns.
class ForwardingKeyDestinationsDAO : public UserTableDAO {
public:
    /// @p adapter is not owned and may be null.
    explicit ForwardingKeyDestinationsDAO(DatabaseAdapter* adapter);
    ~ForwardingKeyDestinationsDAO() override;

private:
    static const std::shared_ptr<const TableLayout>& layoutOfTable();
};

#endif
