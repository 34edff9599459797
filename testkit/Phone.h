#ifndef PHONE_H
#define PHONE_H

#include <map>
#include <memory>
#include <string>

#include "Context.h"
#include "DbFactoryIfc.h"
#include "service/DataAccessService.h"

/// A context with the services that a test puts in; none at first.
class TestContext : public Context {
public:
    Executable* findService(const std::string& name) override {
        const auto found = services.find(name);
        return found != services.end() ? found->second : nullptr;
    }

    std::map<std::string, Executable*> services;  ///< not owned
};

/// The service in the place that the environment names. Nothing runs before start().
class Phone {
public:
    /// Ends the service, if there is one, and starts another on the same database. An exception of
    /// the start passes through, and the service that it left is there.
    /// @param factory of its database, in place of its own; becomes the service's
    void start(DbFactoryIfc* factory = nullptr) {
        stop();
        m_service = std::make_unique<DataAccessService>();
        if (factory != nullptr) {
            m_service->setDbFactory(factory);
        }
        m_service->init(given != nullptr ? *given : context);
    }
    void stop() { m_service.reset(); }
    bool isRunning() const { return m_service != nullptr; }

    DataAccessService& service() { return *m_service; }

    TestContext context;
    Context* given = nullptr;  ///< in place of that one; not owned

private:
    std::unique_ptr<DataAccessService> m_service;
};

#endif
