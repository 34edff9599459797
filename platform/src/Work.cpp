// One variable for the process: long loops ask it between two rows, so asking must cost no more
// than a read of memory. A loop that sees the change one row later is no worse.

#include "Work.h"

#include <atomic>

namespace {

std::atomic<Work::State> current{Work::State::GoesOn};

}  // namespace

void Work::set(State state) {
    current = state;
}

bool Work::isEnding() {
    return current.load(std::memory_order_relaxed) != State::GoesOn;
}

bool Work::isInterrupted() {
    return current.load(std::memory_order_relaxed) == State::IsInterrupted;
}
