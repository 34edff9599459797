#include "GPALSleep.h"

#include <chrono>
#include <mutex>
#include <thread>
#include <utility>

namespace {

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
    } else {
        std::this_thread::sleep_for(std::chrono::seconds(seconds));
    }
}

void GPALSleep::setSleeper(std::function<void(unsigned)> sleeper) {
    const std::lock_guard<std::mutex> lock(replacement().mutex);
    replacement().sleeper = std::move(sleeper);
}
