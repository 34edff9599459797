#include "ServiceHost.h"

#include <iostream>
#include <string>

#include "DataAccessServiceIfc.h"
#include "DatabaseCheck.h"
#include "Service.h"
#include "ServiceLibrary.h"

namespace {

bool refuse(const std::string& reason) {
    std::cerr << "das: the service library can't be loaded: " << reason << std::endl;
    return false;
}

}  // namespace

ServiceHost::ServiceHost() = default;

ServiceHost::~ServiceHost() {
    if (m_interface != nullptr) {
        m_service->shutdown();
    }
}

bool ServiceHost::start() {
    for (const std::string& problem : databaseProblems()) {
        std::cerr << "das: " << problem << std::endl;
    }
    std::string error;
    m_service = ServiceLibrary::createService(error);
    if (m_service == nullptr) {
        return refuse(error);
    }
    auto* const clientsView = dynamic_cast<DataAccessServiceIfc*>(m_service.get());
    if (clientsView == nullptr) {
        return refuse("what it makes is no data access service");
    }
    m_service->init(m_context);
    m_interface = clientsView;
    return true;
}
