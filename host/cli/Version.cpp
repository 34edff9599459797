// The versions of the two libraries that parse what others write are part of it: a report of a
// fault is of little use without them.

#include "cli/Version.h"

#include <expat.h>
#include <sqlite3.h>

#include "Commit.h"

std::string versionText() {
    std::string expat = XML_ExpatVersion();
    expat.erase(0, expat.find('_') + 1);
    return "das " DAS_VERSION " (commit " DAS_COMMIT ", SQLite " +
           std::string(sqlite3_libversion()) + ", expat " + expat + ")";
}
