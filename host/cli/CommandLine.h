#ifndef COMMANDLINE_H
#define COMMANDLINE_H

#include <optional>
#include <string>
#include <vector>

#include "cli/Arguments.h"
#include "cli/CommandTable.h"
#include "client/HostOptions.h"

/**
 * A command line, parsed by the table of commands.
 *
 * The parser is a library; the table decides which arguments it accepts. Some of its messages are
 * replaced by ours, which know more: which name was probably meant, and where the options are
 * listed.
 */
class CommandLine {
public:
    /**
     * Parses @p words, which are those after "das".
     *
     * Errors are written to standard error, with suggestions for misspelled words.
     *
     * @param text receives the help or the version, if that is asked for
     * @return the exit status when there is nothing left to run
     */
    std::optional<int> parse(const std::vector<std::string>& words, std::string& text);

    /// The command; valid after a parse without a status.
    const CommandTable::Row& command() const { return *m_row; }
    /// What was given to the command.
    const Arguments& arguments() const { return m_arguments; }
    /// The options of every command, as they were given.
    const HostOptions& options() const { return m_options; }

private:
    /// Checks for a missing required argument; returns the exit status if one is missing. The
    /// parser is not told which arguments are required, since it would report this before an
    /// unknown option.
    std::optional<int> checkRequired() const;

    /// A row of the table; null until a command was found.
    const CommandTable::Row* m_row = nullptr;
    Arguments m_arguments;
    HostOptions m_options;
};

#endif
