// The beat is a counter without a lock: statements and lines of files count very often, and it is
// seldom read.

#include "Progress.h"

#include <atomic>
#include <mutex>
#include <utility>

namespace {

std::atomic<bool> watched{false};
std::mutex mutex;
Progress::Sink currentSink;  // under the mutex

std::atomic<std::uint64_t> beatCount{0};

}  // namespace

void Progress::setSink(Sink sink) {
    const std::lock_guard<std::mutex> lock(mutex);
    currentSink = std::move(sink);
    watched = static_cast<bool>(currentSink);
}

bool Progress::isWatched() {
    return watched.load(std::memory_order_relaxed);
}

void Progress::beat() {
    // Two threads may store the same number, so that one beat is lost. The counter has changed
    // nevertheless, and this is cheaper than an atomic addition.
    beatCount.store(beatCount.load(std::memory_order_relaxed) + 1, std::memory_order_relaxed);
}

std::uint64_t Progress::beats() {
    return beatCount.load(std::memory_order_relaxed);
}

void Progress::report(const Report& report) {
    const std::lock_guard<std::mutex> lock(mutex);
    if (currentSink) {
        currentSink(report);
    }
}
