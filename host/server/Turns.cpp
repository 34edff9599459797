// No thread waits: a server has few threads, and each one that waits is missing to all clients. Who
// is due is therefore called, and the call is made without the mutex, since what is called may ask
// for a turn again.

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
    std::deque<std::function<void()>> waiting;  // before the lock, so that it goes after it
    const std::lock_guard<std::mutex> lock(m_mutex);
    waiting.swap(m_waiting);
}
