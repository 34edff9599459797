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
 * The telephone's framework in small: gives the service its platform, starts it and ends it.
 *
 * The service is loaded, not linked, and used through its interfaces alone, as on the telephone:
 * what works here works there. The order of the members is that of their lives; the service holds
 * pointers into the framework to its end.
 */
class ServiceHost {
public:
    /// Nothing is loaded yet; standard output is kept for answers from here on. @p printed says
    /// where lines go that the service prints of its own.
    explicit ServiceHost(Output::Printed printed = Output::Printed::ToStandardError);

    /// Ends and deletes the service, before standard output is restored.
    ~ServiceHost();
    ServiceHost(const ServiceHost&) = delete;
    ServiceHost& operator=(const ServiceHost&) = delete;

    /**
     * Reports on standard error what is wrong with the place of the database, loads the library and
     * starts the service, whatever the database is like.
     *
     * @return false when the library can't be used, which has been reported on standard error then
     */
    [[nodiscard]] bool start();

    /// The running service; to be called after a start that went well. Owned by the host.
    DataAccessServiceIfc& service() { return *m_interface; }

    /// The way of remote methods to the running service. Owned by the host.
    Dispatcher& dispatcher() { return *m_dispatcher; }

    /// Those who speak with the dispatcher are entered here.
    Clients& clients() { return m_framework.clients(); }

    /// From now on clients may ask why their calls failed.
    void keepFailures() { m_framework.logRelay().hearFailures(); }

    /// From now on no client hears of changes; before the server of the clients goes.
    void endChanges() { m_framework.endChanges(); }

    /// From now on clients may do what @p rules allow them. To be called before there are any.
    void setRules(AccessRules rules) { m_dispatcher->setRules(std::move(rules)); }

    /// Where answers are written.
    Output& output() { return m_output; }

private:
    /// Makes the invoker and the dispatcher. False with the reason in @p error.
    bool makeInvoker(std::string& error);
    /// Null when the library makes none, which is logged.
    std::unique_ptr<Proxy> makeListenerProxy() const;

    // In an order in which each outlives those after it.
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
