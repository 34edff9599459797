#ifndef COMMAND_H
#define COMMAND_H

#include <memory>
#include <string>
#include <vector>

// What every command uses: its arguments, its output, and its error messages.
#include "cli/Arguments.h"
#include "client/HostOptions.h"
#include "client/Session.h"
#include "terminal/Complaint.h"
#include "terminal/Output.h"

/**
 * A command that talks to the service in one session, which the shell keeps for many.
 *
 * Each command has a file of its own and a row in the table of commands, which lists its arguments.
 * The commands below that are plain functions have no session, or one that other commands can't
 * share. All of them return the exit status, after a message on standard error if something is
 * wrong.
 */
class SessionCommand {
public:
    virtual ~SessionCommand() = default;

    /// Checks the arguments, opens a session and runs the command in it.
    virtual int run(const HostOptions& options, const Arguments& arguments);

    /// Checks @p arguments before anything is started. False, after a message on standard error, if
    /// they can't be used.
    virtual bool check(const Arguments& arguments) = 0;

    /// Runs the command with checked arguments. Returns the same as run().
    virtual int runIn(Session& session, const Arguments& arguments) = 0;

protected:
    /// How run() opens the session: for people, unless programs rely on the exact output of the
    /// command.
    virtual Session::Manner manner() const { return Session::Manner::ForPeople; }
};

// The commands that keep a session, and those that do not.
using MakeCommand = std::unique_ptr<SessionCommand>();
MakeCommand makeCallCommand, makeSchemasCommand, makeReadCommand, makeSetCommand, makeWriteCommand,
    makeDeleteCommand, makeSearchCommand, makeFindCommand, makeExportCommand, makeImportCommand,
    makeProfileCommand, makeShellCommand;

using RunCommand = int(const HostOptions& options, const Arguments& arguments);
RunCommand runRequest, runServe, runWatch, runStatus, runTrace, runCheck, runBackup, runRestore,
    runDiff, runRehearse, runDemo, runHelp;

#endif
