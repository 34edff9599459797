#include "server/ServiceNotice.h"

#include <cerrno>
#include <cstdlib>

#include "Progress.h"
#include "terminal/Complaint.h"

namespace {

/// Long upgrades are not to be broken off by the manager: each step asks for as much time again.
constexpr const char* MoreTime = "\nEXTEND_TIMEOUT_USEC=120000000";

std::string addressOfManager() {
    const char* const name = std::getenv("NOTIFY_SOCKET");
    return name == nullptr ? "" : name;
}

}  // namespace

ServiceNotice::ServiceNotice() : m_manager(addressOfManager()) {
    if (isAsked()) {
        Progress::setSink([this](const Progress::Report& report) {
            send("STATUS=Starting: " + report.step + MoreTime);
        });
    }
}

ServiceNotice::~ServiceNotice() {
    if (isAsked()) {
        Progress::setSink({});
    }
}

void ServiceNotice::ready(const std::string& path) {
    if (isAsked()) {
        Progress::setSink({});
        send("READY=1\nSTATUS=Serving " + path);
    }
}

void ServiceNotice::ending() {
    send("STOPPING=1\nSTATUS=Ending");
}

void ServiceNotice::send(const std::string& state) {
    if (isAsked() && !m_manager.send(state) && !m_isComplainedOf) {
        m_isComplainedOf = true;
        Complaint::tellError(
            m_manager.name(), errno,
            "the service manager was not told: " + state.substr(0, state.find('\n')));
    }
}
