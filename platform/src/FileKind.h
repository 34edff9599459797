#ifndef FILEKIND_H
#define FILEKIND_H

#include <string>

struct stat;

/// Decides which of the telephone's files may be read and written: regular files that do not belong
/// to the service.
namespace FileKind {

/// 0 for such a file. Otherwise the errno value for its kind, with a line at level 2. @p action is
/// what was tried, such as "open".
int refusal(const struct stat& file, const char* action, const std::string& path);

/// The same for a file of the service, whatever its kind.
int refuseOwn(const char* action, const std::string& path);

}  // namespace FileKind

#endif
