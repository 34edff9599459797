// The limit holds for a thread and a scope: whoever answers over a socket sets it around the call,
// and an answer that grows beyond it is given up while it is made, before it takes the memory.

#include "AnswerLimit.h"

#include <utility>

namespace {

thread_local AnswerLimit* s_current = nullptr;

}  // namespace

AnswerLimit::AnswerLimit(std::size_t largest, std::size_t large, std::function<void()> beforeLarge)
    : m_largest(largest),
      m_large(large),
      m_beforeLarge(std::move(beforeLarge)),
      m_outer(std::exchange(s_current, this)) {}

AnswerLimit::~AnswerLimit() {
    s_current = m_outer;
}

bool AnswerLimit::allows(std::size_t bytes) {
    AnswerLimit* const limit = s_current;
    if (limit == nullptr) {
        return true;
    }
    if (bytes > limit->m_large && limit->m_beforeLarge) {
        std::exchange(limit->m_beforeLarge, nullptr)();
    }
    return bytes <= limit->m_largest;
}
