#ifndef LOCALMGMTIFC_H
#define LOCALMGMTIFC_H

#include <string>

class ManageableData;

/**
 * The local management service, registered as "LocalMgmtIfc". Any thread may call.
 *
 * None of its operations sends a request to the data access service, whose locks may be held.
 */
class LocalMgmtIfc {
public:
    virtual ~LocalMgmtIfc();

    /// Deletes the file @p name of a kind: 11 ringtone, 9 screensaver, 3 image. True if it was
    /// deleted; false also for another kind.
    virtual bool deleteFile(int type, const std::string& name) = 0;

    /// Passes a status item on to the deployment server.
    virtual void sendStatusToDLS(const ManageableData& status) = 0;

    /// Passes a status item on to web management.
    virtual void sendStatusToWBM(const ManageableData& status) = 0;

    /// Resets the telephone to its factory state. @p reason and @p kind are for management's own
    /// records.
    virtual void factoryReset(const std::string& reason, int kind) = 0;
};

#endif
