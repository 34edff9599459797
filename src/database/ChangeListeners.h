#ifndef CHANGELISTENERS_H
#define CHANGELISTENERS_H

#include <atomic>
#include <mutex>
#include <vector>

#include "DASChangeListenerIfc.h"

/// The listeners of a service for committed changes. Any thread may call.
class ChangeListeners {
public:
    /// Whether there is a listener. Without one, the other steps of reporting a change are left
    /// out.
    [[nodiscard]] bool isHeard() const { return m_isHeard.load(std::memory_order_relaxed); }

    /// @p listener is not owned. Call with the adapter's lock held, so that a transaction either
    /// begins after this or is not reported.
    void add(DASChangeListenerIfc* listener);
    /// When this returns, @p listener is not called any more.
    void remove(DASChangeListenerIfc* listener);

    /// Calls each listener. What one throws is logged.
    void notify(const DASChange& change) noexcept;

private:
    std::mutex m_mutex;
    std::vector<DASChangeListenerIfc*> m_listeners;
    std::atomic<bool> m_isHeard{false};
};

#endif
