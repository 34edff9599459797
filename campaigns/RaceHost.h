#ifndef RACEHOST_H
#define RACEHOST_H

#include <atomic>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "Context.h"
#include "LocalMgmtIfc.h"
#include "RaceCalls.h"
#include "framework/Client.h"
#include "framework/Dispatcher.h"
#include "framework/HostFramework.h"
#include "server/ListeningSocket.h"
#include "server/SocketServer.h"
#include "service/DASInvoker.h"
#include "service/DataAccessService.h"

/// The telephone's management as the service needs it: everything succeeds at once.
class RaceManagement : public Executable, public LocalMgmtIfc, public Context {
public:
    void init(Context&) override {}
    void shutdown() override {}
    bool deleteFile(int, const std::string&) override { return true; }
    void sendStatusToDLS(const ManageableData&) override { ++m_heard; }
    void sendStatusToWBM(const ManageableData&) override { ++m_heard; }
    void factoryReset(const std::string&, int) override { ++m_heard; }
    Executable* findService(const std::string& name) override {
        return name == "LocalMgmtIfc" ? this : nullptr;
    }

private:
    std::atomic<long> m_heard{0};
};

/// Passes messages to the service, and counts them.
class CountingInvoker : public Invoker {
public:
    void initInvoker(FrameworkContext* context) override { m_invoker.initInvoker(context); }
    void handleMessage(Executable* service, const char* message, int length,
                       InvokerResponse* response) override;

    std::atomic<long> reached{0};

private:
    DASInvoker m_invoker;
};

/**
 * The host's parts between its clients and a service, in this process: clients call a dispatcher
 * directly or use a socket. Each role of RaceCalls has its own rules.
 */
class RaceHost {
public:
    /// @p folder gets the sockets.
    RaceHost(DataAccessService& service, const std::filesystem::path& folder);
    /// The service must still run.
    ~RaceHost();
    RaceHost(const RaceHost&) = delete;
    RaceHost& operator=(const RaceHost&) = delete;

    /// A client in this process, with the rights of a role.
    std::shared_ptr<Client> makeClient(std::size_t role);

    /// Makes @p call for @p client, which has the role @p role. No value if there is no answer. A
    /// wrong answer is described in @p wrong.
    std::optional<Method> call(const std::shared_ptr<Client>& client, std::size_t role,
                               const RaceCalls::Call& call, std::string& wrong);

    /// The socket for clients of a role.
    [[nodiscard]] std::string socketOf(std::size_t role) const { return m_doors[role]->path; }
    /// How many messages of socket clients with that role reached the service.
    [[nodiscard]] long reachedBySocket(std::size_t role) const {
        return m_doors[role]->invoker.reached;
    }
    /// How many calls the host has refused.
    long refused() { return static_cast<long>(m_framework.statistics().refused); }

private:
    /// The dispatcher and the socket for the clients of one role.
    struct Door {
        AccessRules rules;
        CountingInvoker invoker;
        std::unique_ptr<Dispatcher> dispatcher;
        std::string path;
        ListeningSocket socket;  ///< removes its file
        std::unique_ptr<SocketServer> server;
    };

    HostFramework m_framework;
    CountingInvoker m_invoker;
    Dispatcher m_dispatcher;
    std::vector<std::unique_ptr<Door>> m_doors;
};

#endif
