#ifndef SERVICENOTICE_H
#define SERVICENOTICE_H

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <functional>
#include <mutex>
#include <string>
#include <thread>

#include "server/Datagram.h"

/**
 * Reports the state of the service to the service manager: the current upgrade step at the start,
 * that it is ready, that it works, that it ends. Without "NOTIFY_SOCKET" in the environment nothing
 * is sent. If sending fails, standard error says so once, and the service runs.
 *
 * Threads of its own look whether work goes on. As long as it does, they ask for more time during
 * the start. After it, when the manager watches the service ("WATCHDOG_USEC"), they send the
 * service requests of their own, and signs of life to the manager as long as those requests are
 * answered or the work that they wait for goes on.
 */
class ServiceNotice {
public:
    /// From here on the manager gets the steps of the start. Replaces the sink of Progress.
    ServiceNotice();
    /// Waits for the answer to a request that is being handled.
    ~ServiceNotice();
    ServiceNotice(const ServiceNotice&) = delete;
    ServiceNotice& operator=(const ServiceNotice&) = delete;

    /// Called when the start is over and clients at @p path are served. @p ask sends the service a
    /// request and returns when it is answered; another thread calls it until this object is
    /// destroyed.
    void ready(const std::string& path, std::function<void()> ask);

    /// Called when the end has begun.
    void ending();

private:
    using Time = std::chrono::microseconds;

    /// Whether there is a manager to notify.
    bool isAsked() const { return !m_manager.name().empty(); }
    /// Sends one message of the manager's protocol, such as "READY=1". The first failure is
    /// reported, later ones are not.
    void send(const std::string& state);
    /// Sends @p state after each @p interval in which work made progress, as long as @p goesOn is
    /// true.
    void tellWhile(const std::atomic<bool>& goesOn, Time interval, const std::string& state);
    /// Calls @p ask after each @p interval until the end, so that a service that hangs is noticed.
    void askAgain(const std::function<void()>& ask, Time interval);
    /// Waits for @p time. False if @p goesOn became false meanwhile.
    bool pause(const std::atomic<bool>& goesOn, Time time);
    /// Ends the threads that check @p goesOn. They may still be inside a call, so join them
    /// afterwards.
    void stop(std::atomic<bool>& goesOn);

    std::mutex m_sendMutex;
    Datagram m_manager;  ///< its name is empty if there is no manager
    bool m_isComplainedOf = false;

    std::mutex m_mutex;
    std::condition_variable m_changed;
    std::atomic<bool> m_isStarting{true};
    std::atomic<bool> m_isServing{true};
    std::thread m_startTeller;
    std::thread m_listeners;
    std::thread m_asker;
};

#endif
