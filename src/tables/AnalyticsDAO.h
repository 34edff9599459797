#ifndef ANALYTICSDAO_H
#define ANALYTICSDAO_H

#include "dao/UserTableDAO.h"

/// Counters of how often functions were used, and when they were used last.
class AnalyticsDAO : public UserTableDAO {
public:
    /// @p adapter is not owned and may be null.
    explicit AnalyticsDAO(DatabaseAdapter* adapter);
    ~AnalyticsDAO() override;

private:
    static const std::shared_ptr<const TableLayout>& layoutOfTable();
};

#endif
