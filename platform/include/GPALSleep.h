#ifndef GPALSLEEP_H
#define GPALSLEEP_H

#include <functional>

/// Sleeping, in one place so that a test need not wait.
/// All operations may be called by any thread; the sleeper is one for the process.
class GPALSleep {
public:
    /// Puts the calling thread to sleep for @p seconds, less when the process is about to end.
    static void secSleep(unsigned seconds);

    /// Replaces the sleeping by @p sleeper, which gets the seconds; an empty one gives it back.
    static void setSleeper(std::function<void(unsigned)> sleeper);
};

#endif
