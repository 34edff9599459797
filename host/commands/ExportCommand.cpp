#include <memory>
#include <string>

#include "cli/Arguments.h"
#include "cli/CallerFile.h"
#include "cli/Command.h"
#include "client/HostOptions.h"
#include "client/Session.h"
#include "commands/DataFileArguments.h"
#include "terminal/Complaint.h"
#include "terminal/InterruptNote.h"
#include "terminal/Output.h"

namespace {

/// "das export": the rows of a table as a data file.
class ExportCommand : public SessionCommand {
public:
    bool check(const Arguments& arguments) override { return m_arguments.read(arguments); }

    int runIn(Session& session, const Arguments& /*arguments*/) override {
        const InterruptNote note("export", session.isLocal());
        Method answer;
        if (!session.call(m_arguments.method("ExportText"), answer)) {
            return ExitFailure;
        }
        std::string words;
        bool isDone = false;
        (void)answer.getStringParameter("Words", words);
        (void)answer.getBoolParameter("Acknowledge", isDone);
        if (!isDone && !words.empty()) {
            Complaint::tell(m_arguments.what() + ": " + m_arguments.file() + ": " + words);
            return ExitUsage;
        }
        if (!isDone) {
            return session.tellFailure(m_arguments.what());
        }
        const int status = m_arguments.device() ? ExitSuccess : write(session, answer);
        return status == ExitSuccess ? tellOfLost(answer) : status;
    }

private:
    int write(Session& session, const Method& answer) const {
        std::string text;
        (void)answer.getStringParameter("Text", text);
        if (m_arguments.file() == "-") {
            return session.output().write(text) ? ExitSuccess : Complaint::outputFailed();
        }
        const int error = CallerFile::write(m_arguments.file(), text);
        if (error != 0) {
            Complaint::tellError(m_arguments.what() + ": " + m_arguments.file(), error);
        }
        return error == 0 ? ExitSuccess : ExitUsage;
    }

    int tellOfLost(const Method& answer) const {
        int lost = 0;
        (void)answer.getIntParameter("Lost", lost);
        if (lost > 0) {
            Complaint::tell(
                m_arguments.what() + ": " + std::to_string(lost) + " rows can't be carried",
                "das read " + m_arguments.schema().name + " --output csv carries all");
        }
        return lost > 0 ? ExitFailure : ExitSuccess;
    }

    DataFileArguments m_arguments{"export"};
};

}  // namespace

std::unique_ptr<Command> makeExportCommand() {
    return std::make_unique<ExportCommand>();
}
