#ifndef DEVICETABLES_H
#define DEVICETABLES_H

#include <string>

#include "dao/KeyedTableDAO.h"

// Tables with a key that consist only of data: each has its own KeyedTable, and the common frame
// does the rest. In each constructor the adapter is not owned and may be null.

/**
 * The Bluetooth devices that a user trusts, or those that the user has blocked: two tables of the
 * same form. "Id" is the device's address. The list is empty at the start, so re-initialising a
 * user empties it.
 */
class BluetoothDAO : public KeyedTableDAO {
public:
    /// @p schema is that of the trusted or of the blacklisted devices; any other gives the trusted
    /// ones.
    BluetoothDAO(DatabaseAdapter* adapter, const std::string& schema);
};

/// The entries of the dial plan: which digits lead to which action, and when dialling is complete.
/// An entry that is written without an "Id" gets the next number. A delete names entries by "Id" or
/// by the values of other columns; it can't delete all at once.
class DialPlanEntriesDAO : public KeyedTableDAO {
public:
    explicit DialPlanEntriesDAO(DatabaseAdapter* adapter);
};

/// The sixteen distinctive ringers: a name that a caller's server sends, and what is played for it.
class DistinctiveRingingDAO : public KeyedTableDAO {
public:
    explicit DistinctiveRingingDAO(DatabaseAdapter* adapter);
};

/// Where files of each type come from (server, account and path), and how the last download ended.
/// Passwords are stored encrypted here; the older table FILEDOWNLOAD_SETTINGS has unencrypted ones.
class FileDownloadSettingsDAO : public KeyedTableDAO {
public:
    explicit FileDownloadSettingsDAO(DatabaseAdapter* adapter);
};

/// The methods of media encryption in the order in which they are preferred, 1 first.
class SRTPEncryptionSettingsDAO : public KeyedTableDAO {
public:
    explicit SRTPEncryptionSettingsDAO(DatabaseAdapter* adapter);
};

#endif
