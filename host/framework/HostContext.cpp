#include "framework/HostContext.h"

void HostContext::add(const std::string& name, Executable* service) {
    m_services[name] = service;
}

Executable* HostContext::findService(const std::string& name) {
    const auto found = m_services.find(name);
    return found == m_services.end() ? nullptr : found->second;
}
