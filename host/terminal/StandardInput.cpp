#include "terminal/StandardInput.h"

#include <cerrno>
#include <cstdio>

bool StandardInput::next(std::string& line) {
    char* buffer = m_buffer.release();
    const ssize_t length = ::getline(&buffer, &m_size, stdin);
    m_error = length < 0 && std::feof(stdin) == 0 ? errno : 0;
    m_buffer.reset(buffer);
    if (length < 0) {
        return false;
    }
    const auto size = static_cast<std::size_t>(length);
    line.assign(buffer, size > 0 && buffer[size - 1] == '\n' ? size - 1 : size);
    return true;
}
