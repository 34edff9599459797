#ifndef INTERRUPTNOTE_H
#define INTERRUPTNOTE_H

#include <csignal>

/// While this object lives, Ctrl-C ends the process at once, with a line that says what happened to
/// the work, and the matching exit status. The next start rolls back an open transaction.
class InterruptNote {
public:
    /// @p isLocal: this process does the work, so the work ends with it; otherwise a host continues
    /// the work. @p work is the name of the command in the line. One object at a time, since a
    /// signal has one handler.
    InterruptNote(const char* work, bool isLocal);
    /// Restores the previous handler of the signal.
    ~InterruptNote();
    InterruptNote(const InterruptNote&) = delete;
    InterruptNote& operator=(const InterruptNote&) = delete;

private:
    /// The previous handling of Ctrl-C.
    struct sigaction m_before {};
};

#endif
