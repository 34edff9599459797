#ifndef SERVICEHOST_H
#define SERVICEHOST_H

#include <memory>
#include <utility>

#include "Invoker.h"
#include "framework/Dispatcher.h"
#include "framework/HostFramework.h"
#include "framework/HostServices.h"
#include "framework/ServiceLibrary.h"
#include "terminal/Output.h"
#include "terminal/ProgressLine.h"

class DataAccessServiceIfc;
class Service;

/**
 * A small version of the telephone's framework: provides the service's platform, starts the service
 * and stops it.
 *
 * As on the telephone, the service is loaded, not linked, and used only through its interfaces. So
 * what works here also works there. The order of the members is the order of their lifetimes,
 * because the service holds pointers into the framework until its end.
 */
class ServiceHost {
public:
    /// Loads nothing yet. From here on standard output is reserved for answers; @p printed says
    /// where lines go that the service itself prints.
    explicit ServiceHost(Output::Printed printed = Output::Printed::ToStandardError);

    /// Stops and deletes the service, then restores standard output.
    ~ServiceHost();
    ServiceHost(const ServiceHost&) = delete;
    ServiceHost& operator=(const ServiceHost&) = delete;

    /**
     * Reports problems with the database's folder and file on standard error, then loads the
     * library and starts the service in any case.
     *
     * @return false when the library can't be used, which has been reported on standard error then
     */
    [[nodiscard]] bool start();

    /// The running service; call it after a successful start. Owned by the host.
    DataAccessServiceIfc& service() { return *m_interface; }

    /// Passes remote methods to the running service. Owned by the host.
    Dispatcher& dispatcher() { return *m_dispatcher; }

    /// The list of the dispatcher's clients.
    Clients& clients() { return m_framework.clients(); }

    /// From now on clients may ask why their calls failed.
    void keepFailures() { m_framework.logRelay().hearFailures(); }

    /// From now on no client gets changes. Call it before the server of the clients is destroyed.
    void endChanges() { m_framework.endChanges(); }

    /// From now on clients may do what @p rules allow them. Call it before there are clients.
    void setRules(AccessRules rules) { m_dispatcher->setRules(std::move(rules)); }

    /// Where answers are written.
    Output& output() { return m_output; }

private:
    /// Creates the invoker and the dispatcher. False, with the reason in @p error, on failure.
    bool makeInvoker(std::string& error);
    /// Null if the library can't create one, which is logged.
    std::unique_ptr<Proxy> makeListenerProxy() const;

    // In an order in which each member outlives those after it.
    ProgressLine m_progress;
    Output m_output;
    ServiceLibrary m_library;
    HostFramework m_framework;
    HostServices m_services;
    std::unique_ptr<Service> m_service;
    std::unique_ptr<Invoker> m_invoker;
    std::unique_ptr<Dispatcher> m_dispatcher;
    DataAccessServiceIfc* m_interface = nullptr;  // m_service, as its clients see it
};

#endif
