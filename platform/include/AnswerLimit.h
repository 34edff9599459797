#ifndef ANSWERLIMIT_H
#define ANSWERLIMIT_H

#include <cstddef>
#include <functional>

/**
 * Limits the size of the answers that this thread builds, as long as the object lives. Code that
 * sends answers to clients creates one around the call; code that builds answers calls allows()
 * while it does. Without an object there is no limit.
 */
class AnswerLimit {
public:
    /// @p largest is in bytes. @p beforeLarge, if not empty, is called once, before an answer above
    /// @p large is built; it may wait.
    AnswerLimit(std::size_t largest, std::size_t large, std::function<void()> beforeLarge);
    ~AnswerLimit();
    AnswerLimit(const AnswerLimit&) = delete;
    AnswerLimit& operator=(const AnswerLimit&) = delete;

    /// Whether an answer of this thread may have @p bytes. If not, the answer becomes a failure,
    /// which the code that builds it logs.
    [[nodiscard]] static bool allows(std::size_t bytes);

private:
    /// The limits of one thread form a chain, the innermost first: each object adds itself at the
    /// front and removes itself.
    const std::size_t m_largest;
    const std::size_t m_large;
    std::function<void()> m_beforeLarge;
    AnswerLimit* const m_outer;
};

#endif
