// "das export": the rows of a table as a data file.

#include <unistd.h>

#include "cli/CallerFile.h"
#include "cli/Command.h"
#include "commands/DataFileArguments.h"
#include "framework/TextTransfer.h"
#include "terminal/InterruptNote.h"

namespace {

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
        if (words == TextTransfer::NotWritten) {
            const std::string heard = session.takeFailures().text();
            words = heard.empty() ? words : heard;
        }
        if (!isDone && !words.empty()) {
            Complaint::report(m_arguments.what() + ": " + m_arguments.file() + ": " + words);
            return ExitUsage;
        }
        if (!isDone) {
            return session.reportFailure(m_arguments.what());
        }
        const int status = m_arguments.device() ? ExitSuccess : write(session, answer);
        return status == ExitSuccess ? reportLost(answer) : status;
    }

private:
    int write(Session& session, const Method& answer) const {
        std::string text;
        (void)answer.getStringParameter("Text", text);
        if (m_arguments.isStream()) {
            return session.output().print(text);
        }
        const int error = CallerFile::write(m_arguments.file(), text);
        if (error != 0) {
            CallerFile::reportError(m_arguments.what() + ": " + m_arguments.file(),
                                    m_arguments.file(), error);
        }
        return error == 0 ? ExitSuccess : ExitUsage;
    }

    int reportLost(const Method& answer) const {
        int lost = 0;
        (void)answer.getIntParameter("Lost", lost);
        if (lost > 0) {
            Complaint::report(
                m_arguments.what() + ": " + std::to_string(lost) + " rows can't be carried",
                "das read " + m_arguments.schema().name + " --output csv carries all");
        }
        return lost > 0 ? ExitFailure : ExitSuccess;
    }

    DataFileArguments m_arguments{"export", STDOUT_FILENO};
};

}  // namespace

std::unique_ptr<SessionCommand> makeExportCommand() {
    return std::make_unique<ExportCommand>();
}
