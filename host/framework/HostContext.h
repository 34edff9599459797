#ifndef HOSTCONTEXT_H
#define HOSTCONTEXT_H

#include <map>
#include <string>

#include "Context.h"

/// The register of the services that run beside the data access service on this host.
class HostContext : public Context {
public:
    /// Registers @p service under @p name, in place of one that has the name already. Not owned; it
    /// must outlive the context. To be called before the data access service is started.
    void add(const std::string& name, Executable* service);

    Executable* findService(const std::string& name) override;

private:
    std::map<std::string, Executable*> m_services;  // not owned
};

#endif
