// Built from a mutex and a condition, because the semaphore of the C library has no order: under
// load a request could wait forever while later ones pass. Tickets keep the order.

#include "Semaphore.h"

#include "CriticalSection.h"

Semaphore::Semaphore(int initial, int maximum, bool inOrder)
    : m_count(initial), m_maximum(maximum), m_inOrder(inOrder) {}

void Semaphore::take() {
    std::unique_lock<std::mutex> lock(m_mutex);
    const unsigned long ticket = m_nextTicket++;
    m_changed.wait(lock,
                   [this, ticket] { return m_count > 0 && (!m_inOrder || ticket == m_nowServed); });
    --m_count;
    ++m_nowServed;
    if (m_inOrder && m_count > 0) {
        // The next thread in turn may have missed the notification of its give.
        m_changed.notify_all();
    }
}

void Semaphore::give() {
    // Notifies under the mutex: a thread that wakes up may destroy the semaphore as soon as it has
    // the mutex.
    const std::lock_guard<std::mutex> lock(m_mutex);
    if (m_count >= m_maximum) {
        return;
    }
    ++m_count;
    if (m_inOrder) {
        // Only one thread has this ticket, and it is not known which, so all are notified.
        m_changed.notify_all();
    } else {
        m_changed.notify_one();
    }
}

CriticalSection::CriticalSection(Semaphore& semaphore) : m_semaphore(semaphore) {
    m_semaphore.take();
}

CriticalSection::~CriticalSection() {
    m_semaphore.give();
}
