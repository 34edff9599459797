#ifndef DSSKEYSETTINGSDAO_H
#define DSSKEYSETTINGSDAO_H

#include "dao/UserTableDAO.h"

/// Keys that show and take the calls of another line: the address of that line, and how it rings.
class DssKeySettingsDAO : public UserTableDAO {
public:
    /// @p adapter is not owned and may be null.
    explicit DssKeySettingsDAO(DatabaseAdapter* adapter);
    ~DssKeySettingsDAO() override;

private:
    static const std::shared_ptr<const TableLayout>& layoutOfTable();
};

#endif
