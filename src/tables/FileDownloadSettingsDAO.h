#ifndef FILEDOWNLOADSETTINGSDAO_H
#define FILEDOWNLOADSETTINGSDAO_H

#include "dao/KeyedTableDAO.h"

/// Where files of each type come from: server, account and path, and how the last download ended.
/// Passwords stand here encrypted; the table FILEDOWNLOAD_SETTINGS, with plain ones, is an older
/// one.
class FileDownloadSettingsDAO : public KeyedTableDAO {
public:
    /// @p adapter is not owned and may be null.
    explicit FileDownloadSettingsDAO(DatabaseAdapter* adapter);
    ~FileDownloadSettingsDAO() override;
};

#endif
