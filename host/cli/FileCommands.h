#ifndef FILECOMMANDS_H
#define FILECOMMANDS_H

#include <string>

struct HostOptions;

/// What the commands have in common that work on the files of a database, without a host.
namespace FileCommands {

/// Whether no socket is named. Reported when one is.
[[nodiscard]] bool checkSocket(const std::string& command, const HostOptions& options);

/// Whether the folder @p folder has a database. Reported when not.
[[nodiscard]] bool checkDatabase(const std::string& command, const std::string& folder);

}  // namespace FileCommands

#endif
