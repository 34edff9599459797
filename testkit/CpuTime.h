#ifndef CPUTIME_H
#define CPUTIME_H

#include <ctime>

/// Processor time of the calling thread, which other work on the machine does not lengthen.
class CpuTime {
public:
    /// Seconds that @p work takes.
    template <typename Work>
    static double of(const Work& work) {
        const double begin = now();
        work();
        return now() - begin;
    }

private:
    static double now() {
        timespec time{};
        ::clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
        return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) / 1e9;
    }
};

#endif
