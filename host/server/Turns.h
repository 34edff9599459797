#ifndef TURNS_H
#define TURNS_H

#include <deque>
#include <functional>
#include <mutex>

/// Lets one client at a time do something, the others in the order in which they came. No thread
/// waits meanwhile. Any thread may call.
class Turns {
public:
    /// True when it is the caller's turn now. Else @p whenDue is called when it is, by the thread
    /// that ends the turn before; it must not do the work itself.
    [[nodiscard]] bool take(std::function<void()> whenDue);

    /// Ends the turn of the caller.
    void end();

    /// Forgets those who wait.
    /// Whoever waits is not called any more, which also frees what the functions hold.
    void clear();

private:
    /// Of what follows. Never held while something is called.
    std::mutex m_mutex;
    bool m_isTaken = false;
    std::deque<std::function<void()>> m_waiting;
};

#endif
