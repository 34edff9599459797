#include "Output.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <iostream>

namespace {

void flushPrinted() {
    std::cout.flush();
    std::fflush(stdout);
}

bool writeAll(int descriptor, const char* text, std::size_t length) {
    while (length > 0) {
        const ssize_t written = write(descriptor, text, length);
        if (written < 0 && errno != EINTR) {
            return false;
        }
        if (written > 0) {
            text += written;
            length -= static_cast<std::size_t>(written);
        }
    }
    return true;
}

}  // namespace

Output::Output() : m_answers(-1) {
    flushPrinted();
    m_answers = fcntl(STDOUT_FILENO, F_DUPFD_CLOEXEC, STDERR_FILENO + 1);
    if (m_answers >= 0) {
        dup2(STDERR_FILENO, STDOUT_FILENO);
    }
    // What the service prints stands in its order among the log lines.
    std::cout << std::unitbuf;
}

Output::~Output() {
    std::cout << std::nounitbuf;
    flushPrinted();
    if (m_answers >= 0) {
        dup2(m_answers, STDOUT_FILENO);
        close(m_answers);
    }
}

bool Output::writeLine(const std::string& text) {
    return writeAll(m_answers, text.data(), text.size()) && writeAll(m_answers, "\n", 1);
}
