#ifndef GPALSLEEP_H
#define GPALSLEEP_H

#include <functional>

/// Sleeping, in one place, so that a test need not wait. Any thread may call; there is one sleeper
/// for the process.
class GPALSleep {
public:
    /// Puts the calling thread to sleep for @p seconds, or less if the process is about to end.
    static void secSleep(unsigned seconds);

    /// Replaces the sleep by @p sleeper, which gets the seconds; an empty one restores it.
    static void setSleeper(std::function<void(unsigned)> sleeper);
};

#endif
