// Errors in a command line are found before a session begins, because opening a session may upgrade
// a database.

#include "cli/Command.h"

int SessionCommand::run(const HostOptions& options, const Arguments& arguments) {
    if (!check(arguments)) {
        return ExitUsage;
    }
    int status = ExitSuccess;
    const auto session = Session::open(options, status, manner());
    return session == nullptr ? status : runIn(*session, arguments);
}
