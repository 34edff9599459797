// No thread waits here: a server has few threads, and a waiting one could serve no client. Instead
// a function is called when its turn comes. It is called without the mutex, because it may ask for
// a turn again.

#include "server/Turns.h"

#include <utility>

bool Turns::take(std::function<void()> whenDue) {
    const std::lock_guard<std::mutex> lock(m_mutex);
    if (m_isTaken) {
        m_waiting.push_back(std::move(whenDue));
        return false;
    }
    m_isTaken = true;
    return true;
}

void Turns::end() {
    std::function<void()> next;
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_isTaken = !m_waiting.empty();
        if (m_isTaken) {
            next = std::move(m_waiting.front());
            m_waiting.pop_front();
        }
    }
    if (next) {
        next();
    }
}

void Turns::clear() {
    // Declared before the lock, so that it is destroyed after it.
    std::deque<std::function<void()>> waiting;
    const std::lock_guard<std::mutex> lock(m_mutex);
    waiting.swap(m_waiting);
}
