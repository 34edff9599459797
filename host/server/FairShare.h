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
 * Each process may use a part of the time for costly messages, and some of it in advance.
 * Of those that have used more one message at a time is handled, with a pause of three times what
 * it cost, so that the others find the service free most of the time. While no other process sends
 * anything, nothing waits. Any thread may call.
 */
class FairShare {
public:
    explicit FairShare(boost::asio::io_context& io) : m_pause(io) {}

    /// A message that may be handled, until it is given to end().
    struct Turn {
        pid_t process = 0;
        bool isInLane = false;  ///< the one message of the processes that have used too much
    };

    /// Whether a message of @p process may be handled now, as @p turn. If not, @p again is called
    /// when it is worth asking again; it must not ask itself.
    [[nodiscard]] bool begin(pid_t process, Turn& turn, std::function<void()> again);

    /// The message of @p turn has been handled and took @p cost. Without a message nothing happens.
    void end(Turn& turn, std::chrono::nanoseconds cost);

    /// Ends the turn of a message, with the object, by what it cost: how long it took without what
    /// it waited for.
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
        const std::chrono::nanoseconds m_used;  ///< processor time of the thread by then
    };

    /// Forgets those that wait, and ends the pause.
    void clear();

private:
    using Clock = std::chrono::steady_clock;
    using Waiting = std::deque<std::function<void()>>;

    struct Use {
        std::chrono::nanoseconds cost{};  ///< what has not been forgiven until then
        Clock::time_point time{};
    };

    // To be called with the mutex held.
    /// What @p process has used of its part by @p now: less as time passes, 0 for one that is not
    /// known.
    std::chrono::nanoseconds useOf(pid_t process, Clock::time_point now) const;
    /// Whether no other process has begun a message lately, so that nothing is to be shared.
    bool isAlone(pid_t process, Clock::time_point now) const;
    /// Notes that @p process begins a message, for isAlone() of the others.
    void noteActivity(pid_t process, Clock::time_point now);
    /// Forgets processes whose use is forgiven: a machine has any number of them over time.
    void forgetIdle(Clock::time_point now);

    /// Lets all that wait for the lane ask again.
    void freeLane();

    std::mutex m_mutex;           ///< of what follows
    std::map<pid_t, Use> m_uses;  ///< of processes that have sent costly messages
    pid_t m_last = 0;             ///< the process that began a message last, and when
    Clock::time_point m_lastTime{};
    Clock::time_point m_timeOfAnother{};  ///< when another process than that one did
    bool m_isLaneTaken = false;
    Waiting m_waiting;  ///< for the lane
    boost::asio::steady_timer m_pause;
};

#endif
