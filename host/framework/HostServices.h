#ifndef HOSTSERVICES_H
#define HOSTSERVICES_H

#include <map>
#include <string>

#include "Context.h"
#include "Executable.h"
#include "LocalMgmtIfc.h"
#include "MediaControlServiceIfc.h"

class HostFramework;

/// A service of the host itself: nothing to start and nothing to stop, since it has neither threads
/// nor files of its own.
class HostService : public Executable {
public:
    void init(Context& /*context*/) override {}
    void shutdown() override {}
};

/**
 * The management of a telephone in small.
 *
 * On the telephone another service deletes files and passes status items on to management. Here
 * files are deleted in the same directories, and status items go to the clients that asked for
 * them, whichever of the two kinds of management they are for.
 */
class LocalManagement : public HostService, public LocalMgmtIfc {
public:
    explicit LocalManagement(HostFramework& framework) : m_framework(framework) {}

    /// Deletes from "/data/ringtones", "/data/screensavers" or "/data/images". A name that is no
    /// plain one, and a place outside the telephone's root, is refused with a log line.
    bool deleteFile(int type, const std::string& name) override;
    void sendStatusToDLS(const ManageableData& status) override;
    void sendStatusToWBM(const ManageableData& status) override;
    void factoryReset(const std::string& reason, int kind) override;  ///< says so in the log

private:
    HostFramework& m_framework;
};

/// Knows the ringers in use by the lines of "/data/distinctive-ringers.txt". The file is read for
/// each question: tests and developers change it while the host runs.
class MediaControl : public HostService, public MediaControlServiceIfc {
public:
    bool isDistinctiveRingerInUse(const std::string& fileName) override;
};

/// The services that run next to the data access service, by their names. Those that DAS_WITHOUT
/// names are left out.
class HostServices : public Context {
public:
    /// @p framework must outlive the object.
    explicit HostServices(HostFramework& framework);

    /// The service of that name; null for one that is left out or unknown.
    Executable* findService(const std::string& name) override;

private:
    /// They live as long as this object; the service asks for them by name and does not own them.
    LocalManagement m_management;
    MediaControl m_mediaControl;
    /// By the names under which a telephone has them. Tests leave some out by DAS_WITHOUT, since a
    /// telephone may lack them too.
    std::map<std::string, Executable*> m_services;  // not owned
};

#endif
