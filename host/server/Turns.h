#ifndef TURNS_H
#define TURNS_H

#include <deque>
#include <functional>
#include <mutex>

/// Lets one client at a time do something; the others follow in the order in which they asked. No
/// thread waits meanwhile. Any thread may call.
class Turns {
public:
    /// True if it is the caller's turn now. Otherwise @p whenDue is called when the turn comes, on
    /// the thread that ends the previous turn; so @p whenDue must not do the work itself.
    [[nodiscard]] bool take(std::function<void()> whenDue);

    /// Ends the turn of the caller.
    void end();

    /// Drops all that wait. Their functions are not called any more and are destroyed.
    void clear();

private:
    /// Protects the members below. Never held while a function is called.
    std::mutex m_mutex;
    bool m_isTaken = false;
    std::deque<std::function<void()>> m_waiting;
};

#endif
