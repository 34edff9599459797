// The descriptor is redirected, not the stream, because the service may print to descriptor 1 in
// any way.

#include "terminal/Output.h"

#include <fcntl.h>
#include <sys/uio.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <iostream>
#include <string_view>

#include "terminal/Complaint.h"
#include "terminal/Descriptor.h"
#include "terminal/ExitStatus.h"

namespace {

constexpr std::size_t UsualColumns = 80;

void flushPrinted() {
    std::cout.flush();
    std::fflush(stdout);
}

/// Redirects descriptor 1. Lost lines of the service are not worth a failure of their own.
void lead(Output::Printed printed) {
    const Descriptor nowhere(
        printed == Output::Printed::Nowhere ? open("/dev/null", O_WRONLY | O_CLOEXEC) : -1);
    dup2(nowhere.isOpen() ? nowhere.number() : STDERR_FILENO, STDOUT_FILENO);
}

}  // namespace

Output::Output(Printed printed) : m_answers(-1) {
    flushPrinted();
    // Above the standard descriptors, so that the service finds those unchanged.
    m_answers = fcntl(STDOUT_FILENO, F_DUPFD_CLOEXEC, STDERR_FILENO + 1);
    if (m_answers >= 0) {
        lead(printed);
    }
    // Lines that the service prints keep their order among the log lines.
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
    // By one system call: a reader that gets the text without its end would wake up twice.
    char lineFeed = '\n';
    const iovec parts[] = {{const_cast<char*>(text.data()), text.size()}, {&lineFeed, 1}};
    const ssize_t count = writev(m_answers, parts, 2);
    if (count < 0 && errno != EINTR) {
        return false;
    }
    const std::size_t written = count > 0 ? static_cast<std::size_t>(count) : 0;
    if (written <= text.size()) {
        errno = Descriptor::writeAll(m_answers, std::string_view(text).substr(written));
        return errno == 0 && write("\n");
    }
    return true;
}

bool Output::write(const std::string& text) {
    errno = Descriptor::writeAll(m_answers, text);
    return errno == 0;
}

int Output::print(const std::string& text) {
    return write(text) ? ExitSuccess : Complaint::outputFailed();
}

bool Output::mayColour() const {
    const char* const terminal = std::getenv("TERM");
    const char* const none = std::getenv("NO_COLOR");
    return isTerminal() && (none == nullptr || *none == 0) && terminal != nullptr &&
           std::string_view(terminal) != "dumb";
}

bool Output::isTerminal() const {
    return isatty(m_answers) != 0;
}

std::size_t Output::columnsOf(int descriptor) {
    winsize size{};
    if (ioctl(descriptor, TIOCGWINSZ, &size) == 0 && size.ws_col > 0) {
        return size.ws_col;
    }
    const char* const text = std::getenv("COLUMNS");
    const long number = text == nullptr ? 0 : std::strtol(text, nullptr, 10);
    return number > 0 ? static_cast<std::size_t>(number) : UsualColumns;
}
