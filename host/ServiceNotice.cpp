#include "ServiceNotice.h"

#include <cerrno>
#include <cstdlib>

#include "Complaint.h"
#include "Datagram.h"
#include "Progress.h"

namespace {

/// Long upgrades are not to be broken off by the manager: each step asks for as much time again.
constexpr const char* MoreTime = "\nEXTEND_TIMEOUT_USEC=120000000";

std::string addressOfManager() {
    const char* const name = std::getenv("NOTIFY_SOCKET");
    return name == nullptr ? "" : name;
}

}  // namespace

ServiceNotice::ServiceNotice() : m_address(addressOfManager()) {
    if (!m_address.empty()) {
        Progress::setSink([this](const Progress::Report& report) {
            send("STATUS=Starting: " + report.step + MoreTime);
        });
    }
}

ServiceNotice::~ServiceNotice() {
    if (!m_address.empty()) {
        Progress::setSink({});
    }
}

void ServiceNotice::ready(const std::string& path) {
    if (!m_address.empty()) {
        Progress::setSink({});
        send("READY=1\nSTATUS=Serving " + path);
    }
}

void ServiceNotice::ending() {
    send("STOPPING=1\nSTATUS=Ending");
}

void ServiceNotice::send(const std::string& state) const {
    if (!m_address.empty() && !sendDatagram(m_address, state)) {
        Complaint::tellError(m_address, errno, "the service manager was not told: " + state);
    }
}
