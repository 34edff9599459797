#ifndef HOSTSERVICES_H
#define HOSTSERVICES_H

#include <map>
#include <string>

#include "Context.h"
#include "Executable.h"
#include "LocalMgmtIfc.h"
#include "MediaControlServiceIfc.h"

class HostFramework;

/// A service of the host itself. It needs no start and no stop, because it has no threads or files
/// of its own.
class HostService : public Executable {
public:
    void init(Context& /*context*/) override {}
    void shutdown() override {}
};

/**
 * The telephone's management, reduced to what the service needs.
 *
 * On the telephone another service deletes files and passes status items on to management. Here
 * files are deleted in the same directories. Status items of both kinds of management are sent to
 * the clients that listen to them.
 */
class LocalManagement : public HostService, public LocalMgmtIfc {
public:
    explicit LocalManagement(HostFramework& framework) : m_framework(framework) {}

    /// Deletes a file from "/data/ringtones", "/data/screensavers" or "/data/images". A name with a
    /// slash, and a path outside the telephone's root, is refused with a log line.
    bool deleteFile(int type, const std::string& name) override;
    void sendStatusToDLS(const ManageableData& status) override;
    void sendStatusToWBM(const ManageableData& status) override;
    void factoryReset(const std::string& reason, int kind) override;  ///< only logs the call

private:
    HostFramework& m_framework;
};

/// Reads which ringers are in use from the lines of "/data/distinctive-ringers.txt". The file is
/// read at each call, because tests and developers change it while the host runs.
class MediaControl : public HostService, public MediaControlServiceIfc {
public:
    bool isDistinctiveRingerInUse(const std::string& fileName) override;
};

/// The services that run next to the data access service, by name. Services that DAS_WITHOUT names
/// are left out.
class HostServices : public Context {
public:
    /// @p framework must outlive the object.
    explicit HostServices(HostFramework& framework);

    /// The service with that name; null if it is left out or unknown.
    Executable* findService(const std::string& name) override;

private:
    /// They live as long as this object; the service asks for them by name and does not own them.
    LocalManagement m_management;
    MediaControl m_mediaControl;
    /// Indexed by the names that they have on a telephone. Tests leave some out by DAS_WITHOUT,
    /// since a telephone may lack them too.
    std::map<std::string, Executable*> m_services;  // not owned
};

#endif
