#include "cli/FileCommands.h"

#include "client/HostOptions.h"
#include "framework/ServiceFiles.h"
#include "terminal/Complaint.h"

bool FileCommands::checkSocket(const std::string& command, const HostOptions& options) {
    if (options.socket) {
        Complaint::tell(command + ": --socket has no place here",
                        "it works on the files themselves: name their folder by --db");
    }
    return !options.socket;
}

bool FileCommands::checkDatabase(const std::string& command, const std::string& folder) {
    const bool isThere = ServiceFiles::isThere(ServiceFiles::in(folder, ServiceFiles::Database));
    if (!isThere) {
        Complaint::tell(command + ": no database in " + folder,
                        "name the folder of a " + std::string(ServiceFiles::Database));
    }
    return isThere;
}
