#ifndef HEADSETPRIORITIESDAO_H
#define HEADSETPRIORITIESDAO_H

#include "dao/KeyedTableDAO.h"

/// The kinds of headsets in the order in which they are preferred, 1 first. If the table can't be
/// created or filled, this is logged, and the request fails.
class HeadsetPrioritiesDAO : public KeyedTableDAO {
public:
    /// @p adapter is not owned and may be null.
    explicit HeadsetPrioritiesDAO(DatabaseAdapter* adapter);
    ~HeadsetPrioritiesDAO() override = default;

protected:
    /// Like the base class, but a failure is logged under the name of this table.
    DASUtils::TableState checkTable() override;
};

#endif
