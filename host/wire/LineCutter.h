#ifndef LINECUTTER_H
#define LINECUTTER_H

#include <cstddef>
#include <cstdlib>
#include <memory>
#include <string_view>

/// Cuts a stream of bytes into lines, as the bytes come.
class LineCutter {
public:
    /// The longest line that a host takes, without its line feed.
    static constexpr std::size_t MessageLimit = 8 * 1024 * 1024;

    /// What next() has found. Nothing: more bytes have to come first.
    enum class Found { Line, Nothing, TooLong };

    explicit LineCutter(std::size_t limit) : m_limit(limit) {}

    /// How many bytes a line may have from now on.
    void setLimit(std::size_t limit) { m_limit = limit; }
    std::size_t limit() const { return m_limit; }

    /// Bytes that lines are gathered in, also while none has begun.
    std::size_t memory() const { return m_size; }

    /// Where the next bytes are to be put; moves what is kept, so that lines given before are gone.
    struct Room {
        char* begin;
        std::size_t size;
    };
    Room room();

    /// Says that @p count bytes were put there.
    void filled(std::size_t count) { m_end += count; }

    /// Forgets what was put there and not handed out.
    void drop() { m_begin = m_searched = m_end = 0; }

    /**
     * Looks for the next line.
     *
     * @param line takes the line without its line feed, or the beginning of one that is longer than
     *             the limit; valid until the next call of room()
     * @return TooLong as soon as that is sure; there is no way on from there
     */
    Found next(std::string_view& line);

private:
    /// Takes a block of @p size bytes in place of the present one, with its bytes. std::bad_alloc
    /// if the system has no such block; the present one stays then.
    void resize(std::size_t size);

    struct Free {
        void operator()(char* block) const { std::free(block); }
    };

    std::size_t m_limit;
    /// From malloc, since a large block that grows then moves without a copy.
    std::unique_ptr<char, Free> m_buffer;
    std::size_t m_size = 0;
    std::size_t m_begin = 0;     ///< of what is not handed out yet
    std::size_t m_searched = 0;  ///< no line feed between m_begin and here
    std::size_t m_end = 0;       ///< of what was filled in
};

#endif
