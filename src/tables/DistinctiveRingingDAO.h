#ifndef DISTINCTIVERINGINGDAO_H
#define DISTINCTIVERINGINGDAO_H

#include "dao/KeyedTableDAO.h"

/// The sixteen distinctive ringers: a name that a caller's server sends, and what is played for it.
class DistinctiveRingingDAO : public KeyedTableDAO {
public:
    /// @p adapter is not owned and may be null.
    explicit DistinctiveRingingDAO(DatabaseAdapter* adapter);
    ~DistinctiveRingingDAO() override;
};

#endif
