#include "Progress.h"

#include <atomic>
#include <mutex>
#include <utility>

namespace {

std::atomic<bool> watched{false};
std::mutex mutex;
Progress::Sink currentSink;  // under the mutex

}  // namespace

void Progress::setSink(Sink sink) {
    const std::lock_guard<std::mutex> lock(mutex);
    currentSink = std::move(sink);
    watched = static_cast<bool>(currentSink);
}

bool Progress::isWatched() {
    return watched.load(std::memory_order_relaxed);
}

void Progress::report(const Report& report) {
    const std::lock_guard<std::mutex> lock(mutex);
    if (currentSink) {
        currentSink(report);
    }
}
