#ifndef SEMAPHORE_H
#define SEMAPHORE_H

#include <condition_variable>
#include <mutex>

/**
 * A counting semaphore between the threads of one process. Not recursive: a thread that takes a
 * binary semaphore twice waits for itself.
 */
class Semaphore {
public:
    /**
     * @param initial how many takes succeed at once at first
     * @param maximum the highest possible count; a give beyond it has no effect
     * @param inOrder true: waiting threads are served in the order in which they came; false: in
     *                any order
     */
    Semaphore(int initial, int maximum, bool inOrder);
    Semaphore(const Semaphore&) = delete;
    Semaphore& operator=(const Semaphore&) = delete;

    /// Waits until the count is above 0 and lowers it by one.
    void take();

    /// Increments the count and wakes the waiting threads.
    void give();

private:
    std::mutex m_mutex;
    std::condition_variable m_changed;
    int m_count;
    const int m_maximum;
    const bool m_inOrder;
    unsigned long m_nextTicket = 0;  ///< for the next thread that waits
    unsigned long m_nowServed = 0;   ///< the ticket that is served now
};

#endif
