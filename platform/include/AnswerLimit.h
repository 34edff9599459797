#ifndef ANSWERLIMIT_H
#define ANSWERLIMIT_H

#include <cstddef>
#include <functional>

/**
 * How large the answer may become that this thread builds, as long as the object lives. Whoever
 * carries answers to clients makes one around the call; those who build answers ask allows() while
 * they do. Without an object there is no limit.
 */
class AnswerLimit {
public:
    /// @p largest in bytes. @p beforeLarge is called once, before an answer above @p large is built;
    /// it may wait, and is empty for nothing.
    AnswerLimit(std::size_t largest, std::size_t large, std::function<void()> beforeLarge);
    ~AnswerLimit();
    AnswerLimit(const AnswerLimit&) = delete;
    AnswerLimit& operator=(const AnswerLimit&) = delete;

    /// Whether an answer of this thread may have @p bytes. One that may not is a failure, which who
    /// builds it logs.
    [[nodiscard]] static bool allows(std::size_t bytes);

private:
    /// Limits of one thread stand in a chain, the innermost first: each object puts itself in front
    /// and takes itself off again.
    const std::size_t m_largest;
    const std::size_t m_large;
    std::function<void()> m_beforeLarge;
    AnswerLimit* const m_outer;
};

#endif
