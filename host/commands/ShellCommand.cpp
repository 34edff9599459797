#include <algorithm>
#include <memory>
#include <string>
#include <vector>

#include "cli/Arguments.h"
#include "cli/Command.h"
#include "cli/CommandLine.h"
#include "cli/HelpText.h"
#include "cli/RowArguments.h"
#include "cli/SheetPrinter.h"
#include "cli/ShellWords.h"
#include "cli/StoredItems.h"
#include "client/HostOptions.h"
#include "client/Session.h"
#include "schemas/Answers.h"
#include "terminal/Complaint.h"
#include "terminal/LineSource.h"
#include "terminal/NearMisses.h"
#include "terminal/Output.h"
#include "terminal/TerminalText.h"

namespace {

const char* const ServiceWords[] = {"getCurrentUser", "getDefaultKeyData", "saveContactsToCSV"};

/// "das shell": commands on one session, line by line.
class ShellCommand : public SessionCommand {
public:
    bool check(const Arguments& arguments) override { return SheetPrinter::check(arguments); }

    int runIn(Session& session, const Arguments& arguments) override {
        m_session = &session;
        m_arguments = &arguments;
        const Completion::Items items = [&](const KnownSchemas::Entry& schema) {
            return StoredItems::ask(session.connection(), schema);
        };
        LineSource lines(session.output(), [&](const std::string& line) {
            return ShellWords::candidates(line, items);
        });
        int status = ExitSuccess;
        std::string line;
        while (!m_isOver && lines.next(line)) {
            const int result = runLine(line);
            status = status == ExitSuccess ? result : status;
        }
        if (lines.isEdited() && !m_isOver) {
            (void)session.output().write("\n");  // Ctrl-D leaves the prompt without one
        }
        // A person has seen what failed; a script is told by the status.
        return lines.isEdited() && !m_isOutputGone ? ExitSuccess : status;
    }

private:
    int runLine(const std::string& line) {
        const std::size_t begin = line.find_first_not_of(" \t\r");
        if (begin == std::string::npos) {
            return ExitSuccess;
        }
        const bool isWord = std::find(std::begin(ServiceWords), std::end(ServiceWords), line) !=
                            std::end(ServiceWords);
        if (line[begin] == '<' || isWord) {
            return ask(line.substr(begin));
        }
        std::vector<std::string> words;
        if (!ShellWords::split(line, words)) {
            Complaint::tell("a quote is not closed");
            return ExitUsage;
        }
        return words.empty() ? ExitSuccess : runWords(std::move(words));
    }

    int runWords(std::vector<std::string> words) {
        if (words.front() == "quit" || words.front() == "exit") {
            m_isOver = true;
            return ExitSuccess;
        }
        if (words.front() == "help") {
            return help(words);
        }
        const auto known = ShellWords::commands();
        if (std::find(known.begin(), known.end(), words.front()) == known.end()) {
            Complaint::tell(words.front() + ": no command of the shell",
                            NearMisses::question(words.front(), known, "help lists them"));
            return ExitUsage;
        }
        return runCommand(words);
    }

    int runCommand(std::vector<std::string>& words) {
        CommandLine parsed;
        std::string text;
        addFormat(words);
        if (const auto status = parsed.parse(words, text)) {
            return text.empty() ? *status : print(text);
        }
        const HostOptions& options = parsed.options();
        if (options.db || options.root || options.socket) {
            Complaint::tell("--db, --root and --socket stand behind das shell, not here");
            return ExitUsage;
        }
        if (RowArguments::takesStandardInput(parsed.arguments())) {
            Complaint::tell("NAME=@-: standard input has the lines of the shell", "name a file");
            return ExitUsage;
        }
        const auto command = parsed.command().make();
        auto* const inSession = dynamic_cast<SessionCommand*>(command.get());
        return inSession != nullptr && inSession->check(parsed.arguments())
                   ? inSession->runIn(*m_session, parsed.arguments())
                   : ExitUsage;
    }

    /// The format of the shell is that of each command which does not name its own.
    void addFormat(std::vector<std::string>& words) const {
        const auto* const row = CommandTable::find(words.front());
        if (row == nullptr || !row->printsData) {
            return;
        }
        const auto isNamed = [&](const std::string& option) {
            return std::any_of(words.begin(), words.end(),
                               [&](const std::string& word) { return word.rfind(option, 0) == 0; });
        };
        if (m_arguments->has("--output") && !isNamed("--output")) {
            words.insert(words.begin() + 1, {"--output", m_arguments->text("--output")});
        }
        if (m_arguments->has("--plain") && !isNamed("--plain")) {
            words.insert(words.begin() + 1, "--plain");
        }
    }

    int help(const std::vector<std::string>& words) {
        const auto* const row = words.size() > 1 ? CommandTable::find(words[1]) : nullptr;
        if (row != nullptr) {
            return print(HelpText::of(*row));
        }
        std::string text = "Commands:";
        for (const std::string& name : ShellWords::commands()) {
            text += " " + name;
        }
        return print(text +
                     "\nA line that begins with < is sent as a request. help COMMAND tells "
                     "more.\n");
    }

    int ask(const std::string& message) {
        const auto answer = m_session->ask(message);
        if (!answer) {
            return ExitFailure;
        }
        // Stored texts stand in it, and nothing of them may command the terminal.
        const bool isShown = m_session->output().isTerminal() && !m_arguments->has("--output");
        const int status = print((isShown ? TerminalText::visible(*answer) : *answer) + "\n");
        return status == ExitSuccess && Answers::isFailure(*answer) ? ExitFailure : status;
    }

    int print(const std::string& text) {
        if (m_session->output().write(text)) {
            return ExitSuccess;
        }
        m_isOver = m_isOutputGone = true;
        return Complaint::outputFailed();
    }

    Session* m_session = nullptr;            // not owned; while it runs
    const Arguments* m_arguments = nullptr;  // as above
    bool m_isOver = false;
    bool m_isOutputGone = false;
};

}  // namespace

std::unique_ptr<Command> makeShellCommand() {
    return std::make_unique<ShellCommand>();
}
