// "das help": what is made from the table of commands.

#include "cli/Command.h"
#include "cli/CommandTable.h"
#include "cli/HelpText.h"
#include "cli/RowArguments.h"
#include "terminal/NearMisses.h"

int runHelp(const HostOptions& /*options*/, const Arguments& arguments) {
    const std::string name = arguments.text("COMMAND");
    const CommandTable::Row* const row = CommandTable::find(name);
    if (!name.empty() && row == nullptr) {
        Complaint::report(name + ": no such command",
                          NearMisses::question(name, CommandTable::names(), "das help lists them"));
        return ExitUsage;
    }
    if (!RowArguments::checkApart("help", arguments, {{"COMMAND", "--man"}})) {
        return ExitUsage;
    }
    return Output().print(arguments.has("--man") ? HelpText::manualPage()
                          : row == nullptr       ? HelpText::ofAll()
                                                 : HelpText::of(*row));
}
