// "das check": examines the file without the service, because a start would change it.

#include "cli/Command.h"
#include "cli/SheetPrinter.h"
#include "framework/DatabaseExam.h"

namespace {

/// In the order of DatabaseExam::Verdict.
const char* const Verdicts[] = {"good", "note", "fault"};

}  // namespace

int runCheck(const HostOptions& /*options*/, const Arguments& arguments) {
    if (!SheetPrinter::check(arguments)) {
        return ExitUsage;
    }
    const DatabaseExam exam(DatabaseFile::pathOfService());
    if (exam.isBusy()) {
        Complaint::report("check: " + DatabaseFile::pathOfService() + ": database is locked",
                          "another process is changing it: try again when that has ended");
        return ExitUsage;
    }
    Sheet sheet{{"Verdict", "Subject", "Finding", "Next"}, {}, true};
    for (const DatabaseExam::Finding& each : exam.findings()) {
        sheet.rows.push_back({Verdicts[static_cast<std::size_t>(each.verdict)], each.subject,
                              each.words, each.advice});
    }
    Output output;
    const int status = SheetPrinter(arguments, output).print(sheet);
    return status == ExitSuccess && exam.hasFault() ? ExitFailure : status;
}
