#ifndef COMMAND_H
#define COMMAND_H

#include <memory>

class Arguments;
class Session;
struct HostOptions;

/// One command of das, such as "request". Each lives in a file of its own and has a row in the
/// table of commands, which says what it takes.
class Command {
public:
    virtual ~Command() = default;

    /// Runs the command after the parse. Gives the exit status; what went wrong has been told on
    /// standard error then.
    virtual int run(const HostOptions& options, const Arguments& arguments) = 0;
};

/// A command that talks to the service in one conversation, which the shell keeps for many.
class SessionCommand : public Command {
public:
    /// Looks at the arguments, opens a session and runs the command in it.
    int run(const HostOptions& options, const Arguments& arguments) override;

    /// Looks at @p arguments before anything is started. False when they are no use, which has been
    /// told on standard error then.
    virtual bool check(const Arguments& arguments) = 0;

    /// Runs the command with arguments that were looked at. Result as of run().
    virtual int runIn(Session& session, const Arguments& arguments) = 0;
};

std::unique_ptr<Command> makeRequestCommand();
std::unique_ptr<Command> makeCallCommand();
std::unique_ptr<Command> makeServeCommand();
std::unique_ptr<Command> makeWatchCommand();
std::unique_ptr<Command> makeStatusCommand();
std::unique_ptr<Command> makeSchemasCommand();
std::unique_ptr<Command> makeSchemaCommand();
std::unique_ptr<Command> makeReadCommand();
std::unique_ptr<Command> makeSetCommand();
std::unique_ptr<Command> makeWriteCommand();
std::unique_ptr<Command> makeDeleteCommand();
std::unique_ptr<Command> makeSearchCommand();
std::unique_ptr<Command> makeExportCommand();
std::unique_ptr<Command> makeImportCommand();
std::unique_ptr<Command> makeProfileCommand();
std::unique_ptr<Command> makeShellCommand();
std::unique_ptr<Command> makeTraceCommand();
std::unique_ptr<Command> makeCheckCommand();
std::unique_ptr<Command> makeFindCommand();
std::unique_ptr<Command> makeBackupCommand();
std::unique_ptr<Command> makeRestoreCommand();
std::unique_ptr<Command> makeDiffCommand();
std::unique_ptr<Command> makeRehearseCommand();
std::unique_ptr<Command> makeDemoCommand();
std::unique_ptr<Command> makeHelpCommand();

#endif
