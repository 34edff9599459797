#include "terminal/Output.h"

#include <fcntl.h>
#include <sys/ioctl.h>
#include <sys/uio.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <iostream>

namespace {

constexpr std::size_t UsualColumns = 80;

void flushPrinted() {
    std::cout.flush();
    std::fflush(stdout);
}

bool writeAll(int descriptor, const char* text, std::size_t length) {
    while (length > 0) {
        const ssize_t written = ::write(descriptor, text, length);
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

/// Leads descriptor 1 elsewhere. What the service prints is not worth a failure of its own.
void lead(Output::Printed printed) {
    const int nowhere =
        printed == Output::Printed::Nowhere ? open("/dev/null", O_WRONLY | O_CLOEXEC) : -1;
    dup2(nowhere >= 0 ? nowhere : STDERR_FILENO, STDOUT_FILENO);
    if (nowhere >= 0) {
        close(nowhere);
    }
}

}  // namespace

Output::Output(Printed printed) : m_answers(-1) {
    flushPrinted();
    m_answers = fcntl(STDOUT_FILENO, F_DUPFD_CLOEXEC, STDERR_FILENO + 1);
    if (m_answers >= 0) {
        lead(printed);
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
    // By one call of the system: a reader that gets the text without its end wakes up twice.
    char lineFeed = '\n';
    const iovec parts[] = {{const_cast<char*>(text.data()), text.size()}, {&lineFeed, 1}};
    const ssize_t count = writev(m_answers, parts, 2);
    if (count < 0 && errno != EINTR) {
        return false;
    }
    const std::size_t written = count > 0 ? static_cast<std::size_t>(count) : 0;
    return written > text.size() ||
           (writeAll(m_answers, text.data() + written, text.size() - written) &&
            writeAll(m_answers, &lineFeed, 1));
}

bool Output::write(const std::string& text) {
    return writeAll(m_answers, text.data(), text.size());
}

bool Output::isTerminal() const {
    return isatty(m_answers) != 0;
}

std::size_t Output::columns() const {
    winsize size{};
    if (ioctl(m_answers, TIOCGWINSZ, &size) == 0 && size.ws_col > 0) {
        return size.ws_col;
    }
    const char* const text = std::getenv("COLUMNS");
    const long number = text == nullptr ? 0 : std::strtol(text, nullptr, 10);
    return number > 0 ? static_cast<std::size_t>(number) : UsualColumns;
}
