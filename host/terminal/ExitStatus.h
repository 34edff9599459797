#ifndef EXITSTATUS_H
#define EXITSTATUS_H

/// Exit statuses that callers rely on. Scripts use them and the manual lists them, so a number
/// never changes its meaning. A command that a signal ends has the status that shells use: 128 plus
/// the number of the signal.
enum ExitStatus : int {
    ExitSuccess = 0,
    ExitFailure = 1,        ///< an answer said "failure", or an answer could not be written
    ExitUsage = 2,          ///< wrong usage, or input that can't be read
    ExitNoLibrary = 3,      ///< the service library can't be loaded
    ExitInterrupted = 130,  ///< Ctrl-C, as in shells
    ExitBrokenPipe = 141    ///< the reader of the answers has closed the pipe: SIGPIPE, as in
                            ///< shells
};

#endif
