#ifndef HOSTOPTIONS_H
#define HOSTOPTIONS_H

#include <optional>
#include <string>

#include "terminal/ExitStatus.h"

/// What stands on the command line next to the command. An option that was not given leaves the
/// environment as it is. It is read from the command line once and handed to the session. Paths are
/// unchanged.
struct HostOptions {
    std::optional<std::string> db;      ///< directory of phone.db; overrides DB_PATH
    std::optional<std::string> root;    ///< the telephone's root; overrides DAS_ROOT
    std::optional<std::string> socket;  ///< socket of a running host
};

#endif
