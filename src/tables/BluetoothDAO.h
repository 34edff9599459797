#ifndef BLUETOOTHDAO_H
#define BLUETOOTHDAO_H

#include <string>

#include "dao/KeyedTableDAO.h"

/**
 * The Bluetooth devices that a user trusts, or those that he has shut out: two tables of one form.
 *
 * "Id" is the device's address. A user's list begins empty, so re-initialising a user empties it.
 */
class BluetoothDAO : public KeyedTableDAO {
public:
    /// @p adapter is not owned and may be null. @p schema is that of the trusted or of the
    /// blacklisted devices; any other gives the trusted ones.
    BluetoothDAO(DatabaseAdapter* adapter, const std::string& schema);
    ~BluetoothDAO() override;
};

#endif
