// "das diff": what differs between the databases of two folders.

#include "cli/Command.h"
#include "framework/DatabaseDiff.h"
#include "framework/ServiceFiles.h"

int runDiff(const HostOptions& /*options*/, const Arguments& arguments) {
    const std::string older = arguments.text("DIR1");
    const std::string newer = arguments.text("DIR2");
    if (!ServiceFiles::checkDatabase("diff", older) ||
        !ServiceFiles::checkDatabase("diff", newer)) {
        return ExitUsage;
    }
    DatabaseDiff diff;
    if (!diff.compare(ServiceFiles::in(older, ServiceFiles::Database),
                      ServiceFiles::in(newer, ServiceFiles::Database))) {
        Complaint::report("diff: " + diff.error(), diff.advice());
        return ExitUsage;
    }
    const int status = Output().print(diff.lines());
    return status != ExitSuccess || diff.lines().empty() ? status : ExitFailure;
}
