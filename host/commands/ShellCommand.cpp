// "das shell": commands on one session, line by line.

#include <algorithm>

#include "ClientUtils.h"
#include "cli/Command.h"
#include "cli/CommandLine.h"
#include "cli/HelpText.h"
#include "cli/RowArguments.h"
#include "cli/SheetPrinter.h"
#include "cli/ShellWords.h"
#include "cli/StoredItems.h"
#include "schemas/Answers.h"
#include "terminal/LineSource.h"
#include "terminal/NearMisses.h"
#include "terminal/TerminalText.h"

namespace {

const char* const ServiceWords[] = {"getCurrentUser", "getDefaultKeyData", "saveContactsToCSV"};

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
            (void)session.output().write("\n");  // Ctrl-D ends the line without a line feed
        }
        // A person has seen the failures; a script needs the exit status.
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
            Complaint::report("a quote is not closed");
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
            Complaint::report(words.front() + ": no command of the shell",
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
            Complaint::report("--db, --root and --socket stand after das shell, not here");
            return ExitUsage;
        }
        if (RowArguments::takesStandardInput(parsed.arguments())) {
            Complaint::report("NAME=@-: standard input has the lines of the shell", "name a file");
            return ExitUsage;
        }
        const auto command = std::get<CommandTable::Make>(parsed.command().action)();
        return command->check(parsed.arguments()) ? command->runIn(*m_session, parsed.arguments())
                                                  : ExitUsage;
    }

    /// Commands without a format of their own use the format of the shell.
    void addFormat(std::vector<std::string>& words) const {
        const auto& options = CommandTable::optionsOf(*CommandTable::find(words.front()));
        for (const std::string name : {"--output", "--plain"}) {
            const bool isTaken =
                std::any_of(options.begin(), options.end(),
                            [&](const CommandTable::Option& each) { return each.name == name; });
            const bool isNamed =
                std::any_of(words.begin(), words.end(),
                            [&](const std::string& word) { return word.rfind(name, 0) == 0; });
            if (m_arguments->has(name) && isTaken && !isNamed) {
                const std::string value = m_arguments->text(name);
                words.insert(words.begin() + 1, value.empty() ? name : name + "=" + value);
            }
        }
    }

    int help(const std::vector<std::string>& words) {
        const auto* const row = words.size() > 1 ? CommandTable::find(words[1]) : nullptr;
        if (row != nullptr) {
            return print(HelpText::of(*row));
        }
        return print("Commands: " + ClientUtils::join(ShellWords::commands(), " ") +
                     "\nA line that begins with < is sent as a request. help COMMAND prints more "
                     "about a command.\n");
    }

    int ask(const std::string& message) {
        const auto answer = m_session->ask(message);
        if (!answer) {
            return ExitFailure;
        }
        // It holds stored text, with control characters that a terminal would execute.
        const bool isShown = m_session->output().isTerminal() && !m_arguments->has("--output");
        const int status = print((isShown ? TerminalText::visible(*answer) : *answer) + "\n");
        return status == ExitSuccess && Answers::isFailure(*answer) ? ExitFailure : status;
    }

    int print(const std::string& text) {
        const int status = m_session->output().print(text);
        m_isOutputGone = status != ExitSuccess;
        m_isOver = m_isOver || m_isOutputGone;
        return status;
    }

    Session* m_session = nullptr;            // not owned; set while the shell runs
    const Arguments* m_arguments = nullptr;  // as above
    bool m_isOver = false;
    bool m_isOutputGone = false;
};

}  // namespace

std::unique_ptr<SessionCommand> makeShellCommand() {
    return std::make_unique<ShellCommand>();
}
