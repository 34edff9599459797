#ifndef HOSTOPTIONS_H
#define HOSTOPTIONS_H

#include <optional>
#include <string>

/// What stands on the command line beside the command. An option that was not given leaves the
/// environment as it is.
struct HostOptions {
    std::optional<std::string> db;      ///< directory of phone.db; takes the place of DB_PATH
    std::optional<std::string> root;    ///< the telephone's root; takes the place of DAS_ROOT
    std::optional<std::string> socket;  ///< socket of a running host
};

/// Exit statuses that callers rely on.
enum ExitStatus : int {
    ExitSuccess = 0,
    ExitFailure = 1,       ///< an answer said "failure", or an answer could not be written
    ExitUsage = 2,         ///< wrong usage, or input that can't be read
    ExitNoLibrary = 3,     ///< the service library can't be loaded
    ExitInterrupted = 130  ///< Ctrl-C, as shells tell it
};

#endif
