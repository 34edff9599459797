#ifndef SRTPENCRYPTIONSETTINGSDAO_H
#define SRTPENCRYPTIONSETTINGSDAO_H

#include "dao/KeyedTableDAO.h"

/// The methods of media encryption in the order in which they are preferred, 1 first.
class SRTPEncryptionSettingsDAO : public KeyedTableDAO {
public:
    /// @p adapter is not owned and may be null.
    explicit SRTPEncryptionSettingsDAO(DatabaseAdapter* adapter);
    ~SRTPEncryptionSettingsDAO() override;
};

#endif
