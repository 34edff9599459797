#include <memory>
#include <string>

#include "cli/Arguments.h"
#include "cli/Command.h"
#include "cli/FileCommands.h"
#include "cli/SheetPrinter.h"
#include "client/HostOptions.h"
#include "framework/DatabaseExam.h"
#include "terminal/Complaint.h"
#include "terminal/Output.h"

namespace {

const char* wordFor(DatabaseExam::Verdict verdict) {
    switch (verdict) {
        case DatabaseExam::Verdict::Good:
            return "good";
        case DatabaseExam::Verdict::Note:
            return "note";
        default:
            return "fault";
    }
}

/// "das check": looks at the file, without the service, which would change it by its start.
class CheckCommand : public Command {
public:
    int run(const HostOptions& options, const Arguments& arguments) override {
        if (!FileCommands::checkSocket("check", options) || !SheetPrinter::check(arguments)) {
            return ExitUsage;
        }
        const DatabaseExam exam(DatabaseFile::pathOfService());
        Sheet sheet{{"Verdict", "Subject", "Finding", "Next"}, {}, true};
        for (const DatabaseExam::Finding& each : exam.findings()) {
            sheet.rows.push_back({wordFor(each.verdict), each.subject, each.words, each.advice});
        }
        Output output;
        const int status = SheetPrinter(arguments, output).print(sheet);
        return status == ExitSuccess && exam.hasFault() ? ExitFailure : status;
    }
};

}  // namespace

std::unique_ptr<Command> makeCheckCommand() {
    return std::make_unique<CheckCommand>();
}
