#ifndef DIALPLANENTRIESDAO_H
#define DIALPLANENTRIESDAO_H

#include "dao/KeyedTableDAO.h"

/// The entries of the dial plan: which digits lead to which action, and when dialling is complete.
/// An entry that is written without an "Id" gets the next one. A delete names entries by "Id" or by
/// the values of other columns, never all at once.
class DialPlanEntriesDAO : public KeyedTableDAO {
public:
    /// @p adapter is not owned and may be null.
    explicit DialPlanEntriesDAO(DatabaseAdapter* adapter);
    ~DialPlanEntriesDAO() override;
};

#endif
