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
 * Reports to the service manager how the service is: the upgrade step in work at the start, that it
 * is ready, that it goes on, that it ends. Without "NOTIFY_SOCKET" in the environment nothing is
 * sent. If sending fails, standard error says so once, and the service runs.
 *
 * Threads of its own look whether work goes on. As long as it does, they ask for more time during
 * the start. After it, when the manager watches the service ("WATCHDOG_USEC"), they send the
 * service requests of their own, and signs of life to the manager as long as those requests are
 * answered or the work that they wait for goes on.
 */
class ServiceNotice {
public:
    /// From here on the manager hears the steps of the start. Replaces who watched the progress.
    ServiceNotice();
    /// Waits for the answer to a request that is in work.
    ~ServiceNotice();
    ServiceNotice(const ServiceNotice&) = delete;
    ServiceNotice& operator=(const ServiceNotice&) = delete;

    /// The start is over, and clients at @p path are served. @p ask sends the service a request
    /// and returns when it is answered; it is called by another thread, until this object is gone.
    void ready(const std::string& path, std::function<void()> ask);

    /// The end has begun.
    void ending();

private:
    using Time = std::chrono::microseconds;

    /// Whether there is a manager to notify.
    bool isAsked() const { return !m_manager.name().empty(); }
    /// Sends one message of the manager's protocol, such as "READY=1". The first failure is
    /// reported, later ones are not.
    void send(const std::string& state);
    /// Sends @p state after each @p interval in which work went on, until this is no longer so.
    void tellWhile(const std::atomic<bool>& goesOn, Time interval, const std::string& state);
    /// Calls @p ask after each @p interval until the end, so that a service that hangs is noticed.
    void askAgain(const std::function<void()>& ask, Time interval);
    /// False when @p goesOn has ended before @p time was over.
    bool pause(const std::atomic<bool>& goesOn, Time time);
    /// Ends the threads that go by @p goesOn. They may still be in a call: join them afterwards.
    void stop(std::atomic<bool>& goesOn);

    std::mutex m_sendMutex;
    Datagram m_manager;  ///< of an empty name for no manager
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
