#ifndef HOSTOPTIONS_H
#define HOSTOPTIONS_H

#include <optional>
#include <string>

#include "terminal/ExitStatus.h"

/// What stands on the command line next to the command. An option that was not given leaves the
/// environment as it is.
/// It is read from the command line once and handed to the session. Paths are as they were typed.
struct HostOptions {
    std::optional<std::string> db;      ///< directory of phone.db; takes the place of DB_PATH
    std::optional<std::string> root;    ///< the telephone's root; takes the place of DAS_ROOT
    std::optional<std::string> socket;  ///< socket of a running host
};

#endif
