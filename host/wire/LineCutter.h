#ifndef LINECUTTER_H
#define LINECUTTER_H

#include <cstddef>
#include <cstdlib>
#include <memory>
#include <string_view>

/// Cuts a stream of bytes into lines while the bytes arrive.
class LineCutter {
public:
    /// The longest line that a host accepts, without its line feed.
    static constexpr std::size_t MessageLimit = 8 * 1024 * 1024;

    /// The result of next(). Nothing: more bytes must arrive first.
    enum class Found { Line, Nothing, TooLong };

    explicit LineCutter(std::size_t limit) : m_limit(limit) {}

    /// How many bytes a line may have from now on.
    void setLimit(std::size_t limit) { m_limit = limit; }
    std::size_t limit() const { return m_limit; }

    /// Size of the buffer for lines, even if no line has begun.
    std::size_t memory() const { return m_size; }

    /// Where to put the next bytes. This moves the stored bytes, so lines returned before become
    /// invalid.
    struct Room {
        char* begin;
        std::size_t size;
    };
    Room room();

    /// Says that @p count bytes were put there.
    void filled(std::size_t count) { m_end += count; }

    /// Drops the bytes that were put there and not returned yet.
    void drop() { m_begin = m_searched = m_end = 0; }

    /**
     * Looks for the next line.
     *
     * @param line takes the line without its line feed, or the beginning of one that is longer than
     *             the limit; valid until the next call of room()
     * @return TooLong as soon as that is certain; no further line can be read then
     */
    Found next(std::string_view& line);

private:
    /// Replaces the current block by one of @p size bytes with the same contents. Throws
    /// std::bad_alloc if the system has no memory; the current block stays then.
    void resize(std::size_t size);

    struct Free {
        void operator()(char* block) const { std::free(block); }
    };

    std::size_t m_limit;
    /// Allocated by malloc, because realloc can then move a large block without a copy.
    std::unique_ptr<char, Free> m_buffer;
    std::size_t m_size = 0;
    std::size_t m_begin = 0;     ///< start of the bytes not returned yet
    std::size_t m_searched = 0;  ///< no line feed between m_begin and here
    std::size_t m_end = 0;       ///< end of the bytes filled in
};

#endif
