// After a failed close of the database, the service sleeps, so that other users of the connection
// can finish. A test, or the end of the process, must not wait that long. So all sleeping is done
// here.

#include "GPALSleep.h"

#include <chrono>
#include <mutex>
#include <thread>
#include <utility>

#include "Work.h"

namespace {

constexpr std::chrono::milliseconds LongestPiece{50};

struct Replacement {
    std::mutex mutex;
    std::function<void(unsigned)> sleeper;
};

Replacement& replacement() {
    static Replacement instance;
    return instance;
}

}  // namespace

void GPALSleep::secSleep(unsigned seconds) {
    std::function<void(unsigned)> sleeper;
    {
        const std::lock_guard<std::mutex> lock(replacement().mutex);
        sleeper = replacement().sleeper;
    }
    if (sleeper) {
        sleeper(seconds);
        return;
    }
    // In short steps, so that the end of the process need not wait.
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(seconds);
    while (!Work::isEnding() && std::chrono::steady_clock::now() < end) {
        std::this_thread::sleep_for(LongestPiece);
    }
}

void GPALSleep::setSleeper(std::function<void(unsigned)> sleeper) {
    const std::lock_guard<std::mutex> lock(replacement().mutex);
    replacement().sleeper = std::move(sleeper);
}
