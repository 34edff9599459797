#ifndef LOGRELAY_H
#define LOGRELAY_H

#include <atomic>
#include <condition_variable>
#include <deque>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

#include "Log.h"

class Client;
class FailureWords;
class ProtocolAdapter;

/**
 * Sends the log of a host to the clients that ask for it, and the failures of a call to the client
 * that made it. Standard error gets the same lines as without this object. Until a client asks for
 * one of the two, the log is not changed.
 *
 * A thread that logs may hold any lock of the service, so it only puts entries into a queue; a
 * thread of this object sends them. The queue has a limit in bytes, and more entries are dropped: a
 * slow client must not fill the memory, and the log must not wait for it.
 *
 * Failures do not use the queue: the thread that handles a call collects them itself, so that a
 * client sees only the failures of its own calls.
 */
class LogRelay {
public:
    LogRelay() = default;
    ~LogRelay();
    LogRelay(const LogRelay&) = delete;
    LogRelay& operator=(const LogRelay&) = delete;

    /// From now on @p client gets each entry up to @p level as the method "Log", with the ints
    /// "level" and "line" and the strings "component", "source" and "message", until it
    /// disconnects. A second call of a client replaces its first. An entry is dropped while too
    /// many wait.
    /// @p adapter writes them, and outlives this object.
    void add(const std::shared_ptr<Client>& client, ProtocolAdapter& adapter, int level);

    /// How many clients get the log, without those that have disconnected.
    std::size_t listeners();

    /// From now on a Hearing collects the failures of its thread.
    void hearFailures();

    /// While this object lives, failures that this thread logs are added to @p words.
    class Hearing {
    public:
        explicit Hearing(FailureWords& words);
        ~Hearing();
        Hearing(const Hearing&) = delete;
        Hearing& operator=(const Hearing&) = delete;
    };

private:
    /// A client (weak reference) and the highest level that it gets.
    struct Listener {
        std::weak_ptr<Client> client;
        ProtocolAdapter* adapter;  // not owned
        int level;
    };

    /// At the first call, starts the thread and becomes the log's sink.
    void startOnce();
    /// Receives an entry of the log, from any thread.
    void hear(const Log::Entry& entry);
    /// The function of the thread, until the object ends.
    void work();
    void sendNext(std::unique_lock<std::mutex>& lock);
    /// Removes clients that have disconnected, and sets the lowest log level that is enough for the
    /// others. Call with the mutex held.
    void settleLevel();

    std::mutex m_startMutex;
    std::mutex m_mutex;
    std::condition_variable m_changed;
    std::vector<Listener> m_listeners;
    std::deque<Log::Entry> m_waiting;
    std::size_t m_waitingSize = 0;  ///< in bytes
    int m_ownLevel = 0;             ///< highest level that is written to standard error
    std::atomic<bool> m_hearsFailures{false};
    bool m_isEnding = false;
    std::thread m_thread;  ///< sends to clients, since a thread that logs may hold any lock
};

#endif
