#ifndef ENDWATCH_H
#define ENDWATCH_H

#include <pthread.h>

#include <chrono>
#include <condition_variable>
#include <csignal>
#include <mutex>

/**
 * Receives SIGTERM and SIGINT, and makes the process end within five seconds of the first signal.
 *
 * From the signal on, Work::isEnding() is true. Four seconds later, work that has not ended is
 * interrupted. If even that does not end, for example because a disk does not respond, the process
 * exits with status 1. Nothing of that work was acknowledged, and the next start rolls it back.
 * Create this object before other threads.
 */
class EndWatch {
public:
    /// Throws std::system_error if the system can't create its thread.
    EndWatch();
    /// From here on no time limit applies: the process ends by itself.
    ~EndWatch();
    EndWatch(const EndWatch&) = delete;
    EndWatch& operator=(const EndWatch&) = delete;

    /// Returns when a signal has arrived, also if it arrived before.
    void wait();

    [[nodiscard]] bool isAsked();

    /// A descriptor for poll() that is readable as soon as a signal has arrived; -1 if the system
    /// has none left.
    [[nodiscard]] int descriptor();

private:
    /// The function of the thread: calls watch() of the object @p self.
    static void* run(void* self);
    /// Waits for a signal, then for the end of the process. Interrupts the work after a time, and
    /// finally ends the process. Returns early if the process ends by itself.
    void watch();
    /// Wakes callers of wait() and those who poll the descriptor.
    void ask();
    /// Waits at most @p time for the destructor. Returns whether it has begun.
    bool isOverWithin(std::chrono::milliseconds time);

    sigset_t m_signals{};
    pthread_t m_thread{};
    std::mutex m_mutex;  ///< protects the members below
    std::condition_variable m_changed;
    bool m_isAsked = false;
    bool m_isOver = false;
    int m_descriptor = -1;
};

#endif
