#ifndef INTERRUPTNOTE_H
#define INTERRUPTNOTE_H

#include <csignal>

/// As long as it lives, Ctrl-C ends the process at once with a line that says what became of the
/// work, and the exit status for it. A transaction that is open then is rolled back by the
/// next start.
class InterruptNote {
public:
    /// @p isLocal: the work is done by this process, and ends with it; else a host goes on with it.
    /// @p work names the command for the line. One object at a time: a signal has one handler.
    InterruptNote(const char* work, bool isLocal);
    /// Gives the signal back to whoever had it.
    ~InterruptNote();
    InterruptNote(const InterruptNote&) = delete;
    InterruptNote& operator=(const InterruptNote&) = delete;

private:
    /// What Ctrl-C did before, and does again afterwards.
    struct sigaction m_before {};
};

#endif
