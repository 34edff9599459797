// "das help": what is made from the table of commands.

#include "cli/Command.h"
#include "cli/CommandTable.h"
#include "cli/HelpText.h"
#include "cli/RowArguments.h"
#include "terminal/NearMisses.h"

namespace {

std::string textFor(const Arguments& arguments, const CommandTable::Row* row) {
    if (arguments.has("--man")) {
        return HelpText::manualPage();
    }
    if (arguments.has("--completion")) {
        return HelpText::completion();
    }
    return row == nullptr ? HelpText::ofAll() : HelpText::of(*row);
}

}  // namespace

int runHelp(const HostOptions& /*options*/, const Arguments& arguments) {
    const std::string name = arguments.text("COMMAND");
    const CommandTable::Row* const row = CommandTable::find(name);
    if (!name.empty() && row == nullptr) {
        Complaint::report(name + ": no such command",
                          NearMisses::question(name, CommandTable::names(), "das help lists them"));
        return ExitUsage;
    }
    if (!RowArguments::checkApart(
            "help", arguments,
            {{"COMMAND", "--man"}, {"COMMAND", "--completion"}, {"--man", "--completion"}})) {
        return ExitUsage;
    }
    return Output().print(textFor(arguments, row));
}
