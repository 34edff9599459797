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
 * Prevents a process with costly messages from taking the time of the others.
 *
 * Each process may use a part of the time for costly messages, and some of it in advance. Of all
 * processes that have used more, one message at a time is handled. After it there is a pause of
 * three times its cost, so that the service is free for the others most of the time. While no other
 * process sends anything, nothing waits. Any thread may call.
 */
class FairShare {
public:
    explicit FairShare(boost::asio::io_context& io) : m_pause(io) {}

    /// A message that may be handled now. Pass it to end() afterwards.
    struct Turn {
        pid_t process = 0;
        bool isInLane = false;  ///< the single message of all processes that have used too much
    };

    /// Whether a message of @p process may be handled now, as @p turn. If not, @p again is called
    /// when a new attempt is useful; @p again itself must not call begin().
    [[nodiscard]] bool begin(pid_t process, Turn& turn, std::function<void()> again);

    /// Called when the message of @p turn has been handled and took @p cost. Without a message it
    /// does nothing.
    void end(Turn& turn, std::chrono::nanoseconds cost);

    /// Ends the turn of a message when it is destroyed. The cost is the time that it took, without
    /// time spent waiting.
    class InUse {
    public:
        InUse(FairShare& share, Turn& turn);
        ~InUse();
        InUse(const InUse&) = delete;
        InUse& operator=(const InUse&) = delete;

    private:
        FairShare& m_share;
        Turn& m_turn;
        const std::chrono::steady_clock::time_point m_begun;
        const std::chrono::nanoseconds m_used;  ///< processor time of the thread at that moment
    };

    /// Drops all waiting messages, and ends the pause.
    void clear();

private:
    using Clock = std::chrono::steady_clock;
    using Waiting = std::deque<std::function<void()>>;

    struct Use {
        std::chrono::nanoseconds cost{};  ///< cost that was not forgiven at that moment
        Clock::time_point time{};
    };

    // How much of its part @p process has used at @p now. This decreases with time; 0 for an
    // unknown process. Call it with the mutex held.
    std::chrono::nanoseconds useOf(pid_t process, Clock::time_point now) const;
    /// Whether no other process has begun a message lately, so that no time must be shared.
    bool isAlone(pid_t process, Clock::time_point now) const;
    /// Notes that @p process begins a message; isAlone() of the others uses this.
    void noteActivity(pid_t process, Clock::time_point now);
    /// Removes processes whose use is forgiven, because over time a machine has any number of
    /// processes.
    void forgetIdle(Clock::time_point now);

    /// Calls all that wait for the lane, so that they ask again.
    void freeLane();

    std::mutex m_mutex;           ///< protects the members below
    std::map<pid_t, Use> m_uses;  ///< of processes that have sent costly messages
    pid_t m_last = 0;             ///< the process that began a message last, and when
    Clock::time_point m_lastTime{};
    Clock::time_point m_timeOfAnother{};  ///< when a process other than m_last began a message
    bool m_isLaneTaken = false;
    Waiting m_waiting;  ///< waiting for the lane
    boost::asio::steady_timer m_pause;
};

#endif
