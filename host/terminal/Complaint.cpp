// All messages of das about failures have the same form, in one line on standard error. Text that
// they quote can't move the cursor or change the colours of a terminal.

#include "terminal/Complaint.h"

#include <cerrno>
#include <iostream>
#include <system_error>

#include "terminal/ExitStatus.h"
#include "terminal/TerminalText.h"

void Complaint::report(const std::string& what, const std::string& advice) {
    const std::string words = advice.empty() ? what : what + "; " + advice;
    std::cerr << "das: " + TerminalText::visible(words) << std::endl;
}

void Complaint::reportError(const std::string& subject, int error, const std::string& advice) {
    report(subject + ": " + std::generic_category().message(error), advice);
}

int Complaint::outputFailed() {
    if (errno == EPIPE) {
        return ExitBrokenPipe;  // the reader has closed the output
    }
    reportError("standard output", errno);
    return ExitFailure;
}
