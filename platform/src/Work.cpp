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
