#ifndef FAIRSHARE_H
#define FAIRSHARE_H

#include <sys/types.h>

#include <boost/asio/io_context.hpp>
#include <boost/asio/steady_timer.hpp>
#include <chrono>
#include <cstddef>
#include <deque>
#include <functional>
#include <map>
#include <mutex>

/**
 * Keeps a process whose messages cost much from taking the time of the others.
 *
 * A process may have all threads but one in work. One that has sent a costly message is costly for
 * a while, and of all messages of such processes one at a time is handled, with a pause of three
 * times what it cost: so the others find the service free most of the time. While no other process
 * sends anything there is no pause. Any thread may call.
 */
class FairShare {
public:
    using Clock = std::chrono::steady_clock;

    /// @p threads is how many messages can be handled at once, 2 at least.
    FairShare(boost::asio::io_context& io, unsigned threads);

    /// A message that may be handled, until it is given to end().
    struct Turn {
        pid_t process = 0;
        bool isInLane = false;  ///< it is the one of a costly process
    };

    /// Whether a message of @p process may be handled now, as @p turn. If not, @p again is called
    /// when it is worth to ask again; it must not do so itself.
    [[nodiscard]] bool begin(pid_t process, Turn& turn, std::function<void()> again);

    /// The message of @p turn has been handled and took @p cost of processor time.
    void end(const Turn& turn, std::chrono::nanoseconds cost);

    /// Forgets those who wait.
    void clear();

private:
    using Waiting = std::deque<std::function<void()>>;

    struct Process {
        unsigned inWork = 0;
        Clock::time_point costlyUntil{};
        Waiting waiting;
    };

    // To be called with the mutex held.
    bool isAlone(pid_t process, Clock::time_point now) const;
    void noteActivity(pid_t process, Clock::time_point now);
    void forgetIdle(Clock::time_point now);

    void freeLane();
    static void callFirst(Waiting& waiting, std::unique_lock<std::mutex>& lock);

    const unsigned m_mostOfProcess;
    std::mutex m_mutex;  ///< of what follows
    std::map<pid_t, Process> m_processes;
    pid_t m_last = 0;                     ///< the process that began a message last, and when
    Clock::time_point m_lastTime{};
    Clock::time_point m_timeOfAnother{};  ///< when another process than that one did
    bool m_isLaneTaken = false;
    Waiting m_waitingForLane;
    boost::asio::steady_timer m_pause;
};

#endif
