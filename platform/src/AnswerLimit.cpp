// The limit applies to a thread and a scope. Code that answers over a socket sets it around the
// call. An answer that exceeds it is aborted while it is being built, before it uses the memory.

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
