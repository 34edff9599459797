#ifndef DEVICETABLES_H
#define DEVICETABLES_H

#include <string>

#include "dao/KeyedTableDAO.h"

// Tables with a key that are data alone: what differs between them is their KeyedTable, and the
// frame does the rest. In each constructor the adapter is not owned and may be null.

/**
 * The Bluetooth devices that a user trusts, or those that the user has shut out: two tables of one
 * form. "Id" is the device's address. A list begins empty, so re-initialising a user empties it.
 */
class BluetoothDAO : public KeyedTableDAO {
public:
    /// @p schema is that of the trusted or of the blacklisted devices; any other gives the trusted
    /// ones.
    BluetoothDAO(DatabaseAdapter* adapter, const std::string& schema);
};

/// The entries of the dial plan: which digits lead to which action, and when dialling is complete.
/// An entry that is written without an "Id" gets the next one. A delete names entries by "Id" or by
/// the values of other columns, never all at once.
class DialPlanEntriesDAO : public KeyedTableDAO {
public:
    explicit DialPlanEntriesDAO(DatabaseAdapter* adapter);
};

/// The sixteen distinctive ringers: a name that a caller's server sends, and what is played for it.
class DistinctiveRingingDAO : public KeyedTableDAO {
public:
    explicit DistinctiveRingingDAO(DatabaseAdapter* adapter);
};

/// Where files of each type come from: server, account and path, and how the last download ended.
/// Passwords stand here encrypted; the table FILEDOWNLOAD_SETTINGS, with plain ones, is an older
/// one.
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
