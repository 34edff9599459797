#ifndef ENDWATCH_H
#define ENDWATCH_H

#include <pthread.h>

#include <chrono>
#include <condition_variable>
#include <csignal>
#include <mutex>

/**
 * Takes SIGTERM and SIGINT, and sees to it that the process ends within five seconds of the first.
 *
 * From the signal on Work::isEnding() is true; four seconds later what is still in work is
 * interrupted. What does not even come to its end then, such as a disk that does not answer, is cut
 * off by the end of the process with status 1: nothing of it was acknowledged, and the next start
 * rolls it back. To be made before other threads are.
 */
class EndWatch {
public:
    /// Throws std::system_error when the system has no thread for it.
    EndWatch();
    /// The process ends by itself from here on.
    ~EndWatch();
    EndWatch(const EndWatch&) = delete;
    EndWatch& operator=(const EndWatch&) = delete;

    /// Returns when a signal has come, also before.
    void wait();

    [[nodiscard]] bool isAsked();

    /// A descriptor for poll(), readable as soon as a signal has come; -1 when the system has none.
    [[nodiscard]] int descriptor();

private:
    /// The function of the thread: watch() of the object @p self.
    static void* run(void* self);
    /// Waits for a signal, then for the end of the process, interrupts the work, and in the end
    /// ends the process. Returns early as soon as the process ends by itself.
    void watch();
    /// Wakes those who wait() and those who poll the descriptor.
    void ask();
    /// Waits at most @p time for the destructor. Whether it has begun.
    bool isOverWithin(std::chrono::milliseconds time);

    sigset_t m_signals{};
    pthread_t m_thread{};
    std::mutex m_mutex;  ///< of what follows
    std::condition_variable m_changed;
    bool m_isAsked = false;
    bool m_isOver = false;
    int m_descriptor = -1;
};

#endif
