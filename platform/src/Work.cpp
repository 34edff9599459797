// One variable for the process. Long loops read it between two rows, so this must cost no more than
// a read of memory. If a loop sees the change one row later, this does no harm.

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
