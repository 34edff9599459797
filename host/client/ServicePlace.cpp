// Whether a host runs is found out by connecting, because the file of a socket can exist after its
// host has ended.

#include "client/ServicePlace.h"

#include <sys/stat.h>

#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <string>

#include "client/HostOptions.h"
#include "client/SocketConnection.h"
#include "framework/DatabaseFile.h"
#include "framework/ServiceFiles.h"
#include "terminal/Complaint.h"

namespace {

const char* const SocketOfInstalledHost = "/run/das/das.sock";

/// Why no host answered at @p path; blank if one did.
std::string whyNotAnswered(const char* path) {
    SocketConnection connection;
    std::string error;
    return connection.open(path, error) ? "" : error;
}

std::string folderOfDatabase() {
    std::error_code ignored;
    return std::getenv("DB_PATH") != nullptr ? ServiceFiles::folder()
                                             : std::filesystem::current_path(ignored).string();
}

}  // namespace

void ServicePlace::find(HostOptions& options) {
    if (options.socket || std::getenv("DB_PATH") != nullptr) {
        return;
    }
    const char* const named = std::getenv("DAS_SOCKET");
    if (named != nullptr && *named != 0) {
        options.socket = named;
    } else if (whyNotAnswered(SocketOfInstalledHost).empty()) {
        options.socket = SocketOfInstalledHost;
    }
}

bool ServicePlace::hasDatabase(bool takesHost) {
    struct stat status {};
    const bool isMissing = stat(DatabaseFile::pathOfService().c_str(), &status) != 0 &&
                           (errno == ENOENT || errno == ENOTDIR);
    if (isMissing) {
        // It is more likely that a host runs but refuses access.
        const bool isForbidden = takesHost && std::getenv("DB_PATH") == nullptr &&
                                 stat(SocketOfInstalledHost, &status) == 0;
        const std::string host = takesHost ? ", or a running host by --socket or DAS_SOCKET" : "";
        Complaint::report("no database in " + folderOfDatabase(),
                          isForbidden ? whyNotAnswered(SocketOfInstalledHost)
                                      : "name its folder by --db or DB_PATH" + host +
                                            "; das demo DIR makes a telephone to try");
    }
    return !isMissing;
}
