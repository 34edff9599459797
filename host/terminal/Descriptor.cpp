// A signal may interrupt a call, and a pipe may accept only a part: neither is an error.

#include "terminal/Descriptor.h"

#include <unistd.h>

#include <cerrno>

int Descriptor::close() {
    const int number = m_number;
    m_number = -1;
    return number < 0 || ::close(number) == 0 ? 0 : errno;
}

int Descriptor::readAll(int number, std::size_t most, std::string& text) {
    char piece[65536];
    ssize_t count = 0;
    while ((count = ::read(number, piece, sizeof piece)) > 0 || (count < 0 && errno == EINTR)) {
        text.append(piece, count > 0 ? static_cast<std::size_t>(count) : 0);
        if (text.size() > most) {
            return EFBIG;
        }
    }
    return count < 0 ? errno : 0;
}

int Descriptor::writeAll(int number, std::string_view text) {
    while (!text.empty()) {
        const ssize_t count = ::write(number, text.data(), text.size());
        if (count < 0 && errno != EINTR) {
            return errno;
        }
        text.remove_prefix(count > 0 ? static_cast<std::size_t>(count) : 0);
    }
    return 0;
}
