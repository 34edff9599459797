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
 * The parser is a library; the table decides what it takes. Its messages are replaced by ours where
 * a person needs more than it knows: which name was meant, and where the options are listed.
 */
class CommandLine {
public:
    /**
     * Parses @p words, which are those after "das".
     *
     * What is wrong with them is written to standard error, with words that may have been meant.
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
    /// The status for a required argument that is missing. The parser does not know which are
    /// required: it would report that before an unknown option.
    std::optional<int> checkRequired() const;

    /// A row of the table; null until a command was found.
    const CommandTable::Row* m_row = nullptr;
    Arguments m_arguments;
    HostOptions m_options;
};

#endif
