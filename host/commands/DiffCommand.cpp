#include <memory>
#include <string>

#include "cli/Arguments.h"
#include "cli/Command.h"
#include "cli/FileCommands.h"
#include "client/HostOptions.h"
#include "framework/DatabaseDiff.h"
#include "framework/ServiceFiles.h"
#include "terminal/Complaint.h"
#include "terminal/Output.h"

namespace {

/// "das diff": what differs between the databases of two folders.
class DiffCommand : public Command {
public:
    int run(const HostOptions& options, const Arguments& arguments) override {
        const std::string older = arguments.text("DIR1");
        const std::string newer = arguments.text("DIR2");
        if (!FileCommands::checkSocket("diff", options) ||
            !FileCommands::checkDatabase("diff", older) ||
            !FileCommands::checkDatabase("diff", newer)) {
            return ExitUsage;
        }
        DatabaseDiff diff;
        if (!diff.compare(ServiceFiles::in(older, ServiceFiles::Database),
                          ServiceFiles::in(newer, ServiceFiles::Database))) {
            Complaint::tell("diff: " + diff.error(), "das check looks at a database");
            return ExitUsage;
        }
        Output output;
        if (!output.write(diff.lines())) {
            return Complaint::outputFailed();
        }
        return diff.lines().empty() ? ExitSuccess : ExitFailure;
    }
};

}  // namespace

std::unique_ptr<Command> makeDiffCommand() {
    return std::make_unique<DiffCommand>();
}
