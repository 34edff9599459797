#ifndef QUIETOUTPUT_H
#define QUIETOUTPUT_H

#include <fcntl.h>
#include <unistd.h>

#include <cstdio>
#include <iostream>

/// While this object lives, standard output goes nowhere: the service prints there, and a campaign
/// makes it do so thousands of times.
class QuietOutput {
public:
    QuietOutput() : m_output(::dup(STDOUT_FILENO)) {
        flush();
        const int nowhere = ::open("/dev/null", O_WRONLY | O_CLOEXEC);
        ::dup2(nowhere, STDOUT_FILENO);
        ::close(nowhere);
    }
    ~QuietOutput() {
        flush();
        ::dup2(m_output, STDOUT_FILENO);
        ::close(m_output);
    }
    QuietOutput(const QuietOutput&) = delete;
    QuietOutput& operator=(const QuietOutput&) = delete;

private:
    static void flush() {
        std::cout << std::flush;
        (void)std::fflush(stdout);
    }

    int m_output;
};

#endif
