#ifndef COMMAND_H
#define COMMAND_H

#include <memory>
#include <string>
#include <vector>

// What every command uses: what it was given, where it prints, and how it reports what is wrong.
#include "cli/Arguments.h"
#include "client/HostOptions.h"
#include "client/Session.h"
#include "terminal/Complaint.h"
#include "terminal/Output.h"

/**
 * A command that talks to the service in one session, which the shell keeps for many.
 *
 * Each command lives in a file of its own and has a row in the table of commands, which says what
 * it takes. Those below that are functions have no session, or one that no other command can share.
 * All of them return the exit status, after a message on standard error if something is wrong.
 */
class SessionCommand {
public:
    virtual ~SessionCommand() = default;

    /// Looks at the arguments, opens a session and runs the command in it.
    virtual int run(const HostOptions& options, const Arguments& arguments);

    /// Looks at @p arguments before anything is started. False when they can't be used, after a
    /// message on standard error.
    virtual bool check(const Arguments& arguments) = 0;

    /// Runs the command with arguments that were looked at. Result as of run().
    virtual int runIn(Session& session, const Arguments& arguments) = 0;

protected:
    /// How the session of run() is opened: for people, unless the command's output is a contract.
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
