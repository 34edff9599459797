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
 * Carries the log of a host to the clients that have asked for it, and its failures to the clients
 * whose calls fail. Standard error gets the same as without them. Until a client asks for either,
 * the log is left alone.
 *
 * A thread that logs may hold any lock of the service, so it only queues; a thread of this object
 * sends. The queue has a limit in bytes, beyond which entries are dropped: a client that reads
 * slowly must not fill the memory, and the log must not wait for it.
 *
 * Failures go another way, without the queue: the thread that carries out a call notes what it logs
 * itself, so that a client sees the failures of its own calls and of no other.
 */
class LogRelay {
public:
    LogRelay() = default;
    ~LogRelay();
    LogRelay(const LogRelay&) = delete;
    LogRelay& operator=(const LogRelay&) = delete;

    /// From now on @p client hears each entry up to @p level as the method "Log", with the ints
    /// "level" and "line" and the strings "component", "source" and "message", until it has gone.
    /// A second call of a client takes the place of its first. An entry is dropped while too many
    /// wait.
    /// @p adapter writes them, and outlives this object.
    void add(const std::shared_ptr<Client>& client, ProtocolAdapter& adapter, int level);

    /// How many clients hear the log.
    /// Clients that have left do not count.
    std::size_t listeners();

    /// From now on a Hearing hears the failures of its thread.
    void hearFailures();

    /// As long as it lives, what this thread logs of failures is added to @p words.
    class Hearing {
    public:
        explicit Hearing(FailureWords& words);
        ~Hearing();
        Hearing(const Hearing&) = delete;
        Hearing& operator=(const Hearing&) = delete;
    };

private:
    /// A client, weakly, with the highest level that it hears.
    struct Listener {
        std::weak_ptr<Client> client;
        ProtocolAdapter* adapter;  // not owned
        int level;
    };

    /// Starts the thread and takes the log over, at the first call.
    void startOnce();
    /// An entry of the log, from any thread.
    void hear(const Log::Entry& entry);
    /// What the thread does, until the object ends.
    void work();
    void sendNext(std::unique_lock<std::mutex>& lock);
    /// Drops clients that have left, and sets the lowest level of the log that serves the others.
    /// With the mutex held.
    void settleLevel();

    std::mutex m_startMutex;
    std::mutex m_mutex;
    std::condition_variable m_changed;
    std::vector<Listener> m_listeners;
    std::deque<Log::Entry> m_waiting;
    std::size_t m_waitingSize = 0;  ///< in bytes
    int m_ownLevel = 0;             ///< highest level that goes to standard error
    std::atomic<bool> m_hearsFailures{false};
    bool m_isEnding = false;
    std::thread m_thread;  ///< sends to clients, since a thread that logs may hold any lock
};

#endif
