#ifndef FILEKIND_H
#define FILEKIND_H

#include <string>

struct stat;

/// What may be read and written of the telephone's files: regular ones that are not the service's.
namespace FileKind {

/// 0 for such a file, else errno's number for what it is, and a line at level 2 that says so.
/// @p action is what was tried, such as "open".
int refusal(const struct stat& file, const char* action, const std::string& path);

/// The same for what belongs to the service whatever its kind.
int refuseOwn(const char* action, const std::string& path);

}  // namespace FileKind

#endif
