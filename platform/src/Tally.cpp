// Counters are read one by one and never compared, so no memory order between them is needed: an
// addition costs a few nanoseconds in code that runs for each statement.

#include "Tally.h"

#include <atomic>

namespace {

std::atomic<std::uint64_t> counts[Tally::KindCount];

}  // namespace

void Tally::add(Kind kind) {
    counts[kind].fetch_add(1, std::memory_order_relaxed);
}

void Tally::set(Kind kind, std::uint64_t value) {
    counts[kind].store(value, std::memory_order_relaxed);
}

std::uint64_t Tally::of(Kind kind) {
    return counts[kind].load(std::memory_order_relaxed);
}
