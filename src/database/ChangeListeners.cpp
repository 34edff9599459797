// A listener is called under the mutex, so that remove() can promise that none is called
// afterwards. That is safe because a listener only queues and never calls back.

#include "database/ChangeListeners.h"

#include <algorithm>
#include <exception>

#include "Log.h"

void ChangeListeners::add(DASChangeListenerIfc* listener) {
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_listeners.push_back(listener);
    m_isHeard = true;
}

void ChangeListeners::remove(DASChangeListenerIfc* listener) {
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_listeners.erase(std::remove(m_listeners.begin(), m_listeners.end(), listener),
                      m_listeners.end());
    m_isHeard = !m_listeners.empty();
}

void ChangeListeners::notify(const DASChange& change) noexcept {
    const std::lock_guard<std::mutex> lock(m_mutex);
    for (DASChangeListenerIfc* listener : m_listeners) {
        try {
            listener->changed(change);
        } catch (const std::exception& failure) {
            DAS_LOG(2, "A listener failed at a change of schema '%s': %s", change.schema.c_str(),
                    failure.what());
        }
    }
}
