#ifndef HEADSETPRIORITIESDAO_H
#define HEADSETPRIORITIESDAO_H

#include "dao/KeyedTableDAO.h"

/// The kinds of headsets in the order in which they are preferred, 1 first. A table that can't be
/// made or filled is in the log, and the request fails.
class HeadsetPrioritiesDAO : public KeyedTableDAO {
public:
    /// @p adapter is not owned and may be null.
    explicit HeadsetPrioritiesDAO(DatabaseAdapter* adapter);
    ~HeadsetPrioritiesDAO() override = default;

protected:
    /// As in the frame; what could not be made or filled is logged under the name of this table.
    DASUtils::TableState checkTable() override;
};

#endif
