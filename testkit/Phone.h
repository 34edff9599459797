#ifndef PHONE_H
#define PHONE_H

#include <map>
#include <memory>
#include <string>

#include "Context.h"
#include "DbFactoryIfc.h"
#include "service/DataAccessService.h"

/// A context with the services that a test adds; empty at first.
class TestContext : public Context {
public:
    Executable* findService(const std::string& name) override {
        const auto found = services.find(name);
        return found != services.end() ? found->second : nullptr;
    }

    std::map<std::string, Executable*> services;  ///< not owned
};

/// The service, with the paths that the environment names. Nothing runs before start().
class Phone {
public:
    /// Stops the service, if it runs, and starts another one on the same database. An exception of
    /// the start passes through; the service then exists. @param factory of its database, instead
    /// of its own; the service takes ownership
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
    Context* given = nullptr;  ///< used instead of the context above; not owned

private:
    std::unique_ptr<DataAccessService> m_service;
};

#endif
