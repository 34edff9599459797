// The service sleeps after a close of the database that failed, so that whoever still uses it can
// come to an end. Neither a test nor the end of the process may wait as long, so all sleeping goes
// through here.

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
    // In short pieces, so that the end of the process does not wait for it.
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(seconds);
    while (!Work::isEnding() && std::chrono::steady_clock::now() < end) {
        std::this_thread::sleep_for(LongestPiece);
    }
}

void GPALSleep::setSleeper(std::function<void(unsigned)> sleeper) {
    const std::lock_guard<std::mutex> lock(replacement().mutex);
    replacement().sleeper = std::move(sleeper);
}
