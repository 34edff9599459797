// The order of a start: library, service, invoker, and init last. init may upgrade the database for
// minutes, so a library that lacks a function must be refused before.

#include "framework/ServiceHost.h"

#include <iostream>
#include <string>

#include "DataAccessServiceIfc.h"
#include "Log.h"
#include "Proxy.h"
#include "Service.h"
#include "framework/ServiceFiles.h"

namespace {

bool refuse(const std::string& reason) {
    std::cerr << "das: the service library can't be loaded: " << reason << std::endl;
    return false;
}

}  // namespace

ServiceHost::ServiceHost(Output::Printed printed)
    : m_output(printed),
      m_framework([this] { return makeListenerProxy(); }),
      m_services(m_framework) {}

ServiceHost::~ServiceHost() {
    endChanges();
    if (m_interface != nullptr) {
        m_service->shutdown();
    }
}

bool ServiceHost::start() {
    for (const std::string& problem : ServiceFiles::problems()) {
        std::cerr << "das: " << problem << std::endl;
    }
    std::string error;
    if (m_library.open(error)) {
        m_service = m_library.create<Service>("createDataAccessService", error);
    }
    if (m_service == nullptr || !makeInvoker(error)) {
        return refuse(error);
    }
    auto* const clientsView = dynamic_cast<DataAccessServiceIfc*>(m_service.get());
    if (clientsView == nullptr) {
        return refuse("what it makes is no data access service");
    }
    // The destructor stops the service only if this was called.
    m_service->init(m_services);
    m_interface = clientsView;
    return true;
}

bool ServiceHost::makeInvoker(std::string& error) {
    m_invoker = m_library.create<Invoker>("createDASInvoker", error);
    if (m_invoker == nullptr) {
        return false;
    }
    m_invoker->initInvoker(&m_framework);
    m_dispatcher = std::make_unique<Dispatcher>(*m_service, *m_invoker, m_framework);
    return true;
}

std::unique_ptr<Proxy> ServiceHost::makeListenerProxy() const {
    std::string error;
    std::unique_ptr<Proxy> proxy = m_library.create<Proxy>("createDASListenerProxy", error);
    if (proxy == nullptr) {
        logAppUni("das", "./host/ServiceHost", 2, __LINE__, "No proxy for a listener: %s",
                  error.c_str());
    }
    return proxy;
}
