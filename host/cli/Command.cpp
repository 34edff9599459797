#include "cli/Command.h"

#include "cli/Arguments.h"
#include "client/HostOptions.h"
#include "client/Session.h"

int SessionCommand::run(const HostOptions& options, const Arguments& arguments) {
    if (!check(arguments)) {
        return ExitUsage;
    }
    int status = ExitSuccess;
    const auto session = Session::open(options, status);
    return session == nullptr ? status : runIn(*session, arguments);
}
