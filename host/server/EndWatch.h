#ifndef ENDWATCH_H
#define ENDWATCH_H

#include <pthread.h>

#include <csignal>

/**
 * Takes SIGTERM and SIGINT, and sees to it that the process ends within five seconds of the first.
 *
 * From the signal on Work::isEnding() is true; four seconds later what is still in work is
 * interrupted. What does not even come to its end then, such as a disk that does not answer, is cut
 * off by the end of the process with status 1: nothing was acknowledged, and what is open on the
 * disk is rolled back by the next start. To be made before other threads are.
 */
class EndWatch {
public:
    /// Throws std::system_error when the system has no thread or descriptor for it.
    EndWatch();
    /// The process ends by itself from here on.
    ~EndWatch();
    EndWatch(const EndWatch&) = delete;
    EndWatch& operator=(const EndWatch&) = delete;

    /// Returns when a signal has come, also before.
    void wait() const;

    [[nodiscard]] bool isAsked() const;

    /// Readable as soon as a signal has come, for poll().
    [[nodiscard]] int descriptor() const { return m_asked; }

private:
    static void* run(void* self);
    void watch() const;
    bool isOverWithin(int milliseconds) const;

    sigset_t m_signals{};
    int m_signal = -1;  ///< readable when a signal is there
    int m_asked = -1;
    int m_over = -1;  ///< readable when this object goes
    pthread_t m_thread{};
};

#endif
