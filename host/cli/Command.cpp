// What is wrong with the words of a command line is found before a session begins: opening one may
// upgrade a database.

#include "cli/Command.h"

int SessionCommand::run(const HostOptions& options, const Arguments& arguments) {
    if (!check(arguments)) {
        return ExitUsage;
    }
    int status = ExitSuccess;
    const auto session = Session::open(options, status, manner());
    return session == nullptr ? status : runIn(*session, arguments);
}
