#include "wire/LineCutter.h"

#include <algorithm>
#include <cstring>

namespace {

constexpr std::size_t SmallestRoom = 4096;
constexpr std::size_t LargestRoom = 4 * 1024 * 1024;
constexpr std::size_t KeptWhenEmpty = 64 * 1024;

}  // namespace

LineCutter::Room LineCutter::room() {
    const std::size_t kept = m_end - m_begin;
    if (m_begin > 0) {
        std::memmove(m_buffer.data(), m_buffer.data() + m_begin, kept);
        m_searched -= m_begin;
        m_end = kept;
        m_begin = 0;
    }
    if (kept == 0 && m_buffer.size() > KeptWhenEmpty) {
        m_buffer = std::string();  // a client that once sent much does not keep the room for it
    }
    // Room grows with the line, so that a long one is not copied for every piece of it.
    m_buffer.resize(std::max(m_buffer.size(), kept + std::clamp(kept, SmallestRoom, LargestRoom)));
    return {m_buffer.data() + m_end, m_buffer.size() - m_end};
}

LineCutter::Found LineCutter::next(std::string_view& line) {
    const std::string_view filled(m_buffer.data(), m_end);
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
