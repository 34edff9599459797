#ifndef SERVICEHOST_H
#define SERVICEHOST_H

#include <memory>

#include "HostContext.h"
#include "Output.h"

class DataAccessServiceIfc;
class Service;

/// The telephone's framework in small: gives the service its platform, starts it and ends it.
class ServiceHost {
public:
    ServiceHost();

    /// Ends and deletes the service, before standard output is given back.
    ~ServiceHost();
    ServiceHost(const ServiceHost&) = delete;
    ServiceHost& operator=(const ServiceHost&) = delete;

    /**
     * Tells on standard error what is wrong with the place of the database, loads the library and
     * starts the service, whatever the database is like.
     *
     * @return false when the library can't be used, which has been told on standard error then
     */
    [[nodiscard]] bool start();

    /// The running service; to be called after a start that went well. Owned by the host.
    DataAccessServiceIfc& service() { return *m_interface; }

    /// Where answers are written.
    Output& output() { return m_output; }

private:
    Output m_output;  // first, so that it outlives the service
    HostContext m_context;
    std::unique_ptr<Service> m_service;
    DataAccessServiceIfc* m_interface = nullptr;  // m_service, as its clients see it
};

#endif
