#include "server/ServiceNotice.h"

#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <cstdlib>
#include <exception>
#include <utility>

#include "Progress.h"
#include "terminal/Complaint.h"

namespace {

/// The manager must not stop a long upgrade. So each step asks for this much time again, and so
/// does a long step while it makes progress.
constexpr const char* MoreTime = "EXTEND_TIMEOUT_USEC=120000000";
constexpr auto TimeBetweenExtensions = std::chrono::seconds(30);

constexpr const char* GoesOn = "WATCHDOG=1";
/// Part of the manager's waiting time: in this time a request and its report are possible twice.
constexpr int PartsOfWatchdogTime = 4;

std::string variable(const char* name) {
    const char* const text = std::getenv(name);
    return text == nullptr ? "" : text;
}

/// How long the manager waits for a sign of life; 0 if it does not watch this process.
std::chrono::microseconds watchdogTime() {
    const std::string process = variable("WATCHDOG_PID");
    const long long time = std::strtoll(variable("WATCHDOG_USEC").c_str(), nullptr, 10);
    const bool isMeant = process.empty() || process == std::to_string(::getpid());
    return std::chrono::microseconds(isMeant ? std::max(0LL, time) : 0);
}

}  // namespace

ServiceNotice::ServiceNotice() : m_manager(variable("NOTIFY_SOCKET")) {
    if (isAsked()) {
        Progress::setSink([this](const Progress::Report& report) {
            send("STATUS=Starting: " + report.step + "\n" + MoreTime);
        });
        m_startTeller =
            std::thread([this] { tellWhile(m_isStarting, TimeBetweenExtensions, MoreTime); });
    }
}

ServiceNotice::~ServiceNotice() {
    if (isAsked()) {
        Progress::setSink({});
    }
    stop(m_isStarting);
    stop(m_isServing);
    for (std::thread* thread : {&m_startTeller, &m_listeners, &m_asker}) {
        if (thread->joinable()) {
            thread->join();
        }
    }
}

void ServiceNotice::ready(const std::string& path, std::function<void()> ask) {
    if (!isAsked()) {
        return;
    }
    Progress::setSink({});
    stop(m_isStarting);
    m_startTeller.join();
    send("READY=1\nSTATUS=Serving " + path);
    const Time interval = watchdogTime() / PartsOfWatchdogTime;
    if (interval.count() > 0) {
        m_listeners = std::thread([=] { tellWhile(m_isServing, interval, GoesOn); });
        m_asker = std::thread([=, ask = std::move(ask)] { askAgain(ask, interval); });
    }
}

void ServiceNotice::ending() {
    send("STOPPING=1\nSTATUS=Ending");
}

void ServiceNotice::tellWhile(const std::atomic<bool>& goesOn, Time interval,
                              const std::string& state) {
    std::uint64_t seen = Progress::beats();
    while (pause(goesOn, interval)) {
        const std::uint64_t now = Progress::beats();
        if (now != std::exchange(seen, now)) {
            send(state);
        }
    }
}

void ServiceNotice::askAgain(const std::function<void()>& ask, Time interval) {
    do {
        try {
            ask();
            Progress::beat();
        } catch (const std::exception&) {
            // No answer, for example for lack of memory. The next request may succeed.
        }
    } while (pause(m_isServing, interval));
}

bool ServiceNotice::pause(const std::atomic<bool>& goesOn, Time time) {
    std::unique_lock<std::mutex> lock(m_mutex);
    return !m_changed.wait_for(lock, time, [&] { return !goesOn; });
}

void ServiceNotice::stop(std::atomic<bool>& goesOn) {
    const std::lock_guard<std::mutex> lock(m_mutex);
    goesOn = false;
    m_changed.notify_all();
}

void ServiceNotice::send(const std::string& state) {
    const std::lock_guard<std::mutex> lock(m_sendMutex);
    if (isAsked() && !m_manager.send(state) && !m_isComplainedOf) {
        m_isComplainedOf = true;
        Complaint::reportError(
            m_manager.name(), errno,
            "the service manager was not told: " + state.substr(0, state.find('\n')));
    }
}
