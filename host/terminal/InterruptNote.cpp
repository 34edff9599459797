// Ctrl-C ends the process in a signal handler, which may not allocate memory or take locks. So its
// line is prepared beforehand, and nothing is cleaned up: the next start rolls the database back by
// its journal.

#include "terminal/InterruptNote.h"

#include <unistd.h>

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <string>

#include "terminal/ExitStatus.h"

namespace {

char s_line[200];  // filled before the handler can run, since a handler can't build strings
std::size_t s_length = 0;

void endProcess(int /*signal*/) {
    // If this line can't be written, there is nowhere else to report it.
    [[maybe_unused]] const ssize_t written = write(STDERR_FILENO, s_line, s_length);
    _exit(ExitInterrupted);
}

}  // namespace

InterruptNote::InterruptNote(const char* work, bool isLocal) {
    const std::string line =
        "\ndas: " + std::string(work) + ": interrupted; " +
        (isLocal ? "what was not complete is rolled back\n" : "what the host has begun goes on\n");
    s_length = std::min(line.size(), sizeof s_line);
    std::memcpy(s_line, line.data(), s_length);
    struct sigaction action {};
    action.sa_handler = endProcess;
    sigaction(SIGINT, &action, &m_before);
}

InterruptNote::~InterruptNote() {
    sigaction(SIGINT, &m_before, nullptr);
}
