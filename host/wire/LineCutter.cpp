// Lines are returned as views of the received bytes, and each byte is searched for a line feed only
// once. So a message in many small pieces costs no more than one that comes at once.

#include "wire/LineCutter.h"

#include <algorithm>
#include <cstring>
#include <new>

namespace {

constexpr std::size_t SmallestRoom = 4096;
/// As much as a socket buffers. More would be counted as an unfinished line, even if it is never
/// filled.
constexpr std::size_t LargestRoom = 256 * 1024;

}  // namespace

void LineCutter::resize(std::size_t size) {
    char* const block = static_cast<char*>(std::realloc(m_buffer.get(), size));
    if (block == nullptr) {
        throw std::bad_alloc();
    }
    (void)m_buffer.release();  // it is now part of the new block, or freed
    m_buffer.reset(block);
    m_size = size;
}

LineCutter::Room LineCutter::room() {
    const std::size_t kept = m_end - m_begin;
    if (m_begin > 0) {
        std::memmove(m_buffer.get(), m_buffer.get() + m_begin, kept);
        m_searched -= m_begin;
        m_end = kept;
        m_begin = 0;
    }
    // A client that once sent much does not keep the memory for it.
    const std::size_t size = kept + std::clamp(kept, SmallestRoom, LargestRoom);
    if (m_size < size || kept == 0) {
        resize(size);
    }
    return {m_buffer.get() + m_end, m_size - m_end};
}

LineCutter::Found LineCutter::next(std::string_view& line) {
    const std::string_view filled(m_buffer.get(), m_end);
    const std::size_t feed = filled.find('\n', m_searched);
    const std::size_t length = std::min(feed, m_end) - m_begin;
    m_searched = m_end;
    if (length > m_limit) {
        line = filled.substr(m_begin, m_limit);
        return Found::TooLong;
    }
    if (feed == std::string_view::npos) {
        return Found::Nothing;
    }
    line = filled.substr(m_begin, length);
    m_begin = m_searched = feed + 1;
    return Found::Line;
}
