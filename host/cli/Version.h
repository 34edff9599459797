#ifndef VERSION_H
#define VERSION_H

#include <string>

/// What "das --version" prints: the version, the commit it was built from, and the versions of the
/// libraries that hold and read the data, as they are loaded: what a report of a fault needs.
std::string versionText();

#endif
