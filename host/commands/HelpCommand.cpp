#include <memory>
#include <string>
#include <vector>

#include "cli/Arguments.h"
#include "cli/Command.h"
#include "cli/CommandTable.h"
#include "cli/HelpText.h"
#include "cli/RowArguments.h"
#include "client/HostOptions.h"
#include "terminal/Complaint.h"
#include "terminal/NearMisses.h"
#include "terminal/Output.h"

namespace {

/// "das help": what is made from the table of commands.
class HelpCommand : public Command {
public:
    int run(const HostOptions& /*options*/, const Arguments& arguments) override {
        const std::string name = arguments.text("COMMAND");
        const CommandTable::Row* const row = CommandTable::find(name);
        if (!name.empty() && row == nullptr) {
            Complaint::tell(name + ": no such command",
                            NearMisses::question(name, names(), "das help lists them"));
            return ExitUsage;
        }
        if (!RowArguments::checkApart(
                "help", arguments,
                {{"COMMAND", "--man"}, {"COMMAND", "--markdown"}, {"--man", "--markdown"}})) {
            return ExitUsage;
        }
        Output output;
        return output.write(textFor(arguments, row)) ? ExitSuccess : Complaint::outputFailed();
    }

private:
    static std::string textFor(const Arguments& arguments, const CommandTable::Row* row) {
        if (arguments.has("--man")) {
            return HelpText::manualPage();
        }
        if (arguments.has("--markdown")) {
            return HelpText::markdown();
        }
        return row == nullptr ? HelpText::ofAll() : HelpText::of(*row);
    }

    static std::vector<std::string> names() {
        std::vector<std::string> all;
        for (const CommandTable::Row& row : CommandTable::rows()) {
            all.emplace_back(row.name);
        }
        return all;
    }
};

}  // namespace

std::unique_ptr<Command> makeHelpCommand() {
    return std::make_unique<HelpCommand>();
}
