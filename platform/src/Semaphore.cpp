// Made of a mutex and a condition, since the semaphore of the C library promises no order: under
// load a request could wait without end while later ones pass. Tickets give the order.

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
        m_changed.notify_all();  // the next in turn may have slept through its give
    }
}

void Semaphore::give() {
    // Waking under the mutex: who is woken may destroy the semaphore once it has the mutex.
    const std::lock_guard<std::mutex> lock(m_mutex);
    if (m_count >= m_maximum) {
        return;
    }
    ++m_count;
    if (m_inOrder) {
        m_changed.notify_all();  // only one thread holds the ticket, and no one knows which
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
