#ifndef HEADSETPRIORITIESDAO_H
#define HEADSETPRIORITIESDAO_H

#include "dao/KeyedTableDAO.h"

/// The kinds of headsets in the order in which they are preferred, 1 first. A table that can't be
/// made or filled is told by the log, and the request goes on.
class HeadsetPrioritiesDAO : public KeyedTableDAO {
public:
    /// @p adapter is not owned and may be null.
    explicit HeadsetPrioritiesDAO(DatabaseAdapter* adapter);
    ~HeadsetPrioritiesDAO() override;

protected:
    void checkTable() override;
};

#endif
