#ifndef HELPTEXT_H
#define HELPTEXT_H

#include <string>

#include "cli/CommandTable.h"

/**
 * The texts that are made from the table of commands.
 *
 * The texts have 80 columns, whatever the terminal has, because they are also read in files and
 * pagers. The manual page has the same contents in roff, and man wraps its lines.
 */
namespace HelpText {

/// Help of das as a whole.
std::string ofAll();

/// Help of one command: usage, arguments, options, examples and exit statuses.
std::string of(const CommandTable::Row& row);

/// The manual page, in the language of man.
std::string manualPage();

/// "das read SCHEMA": the command with its arguments; those in brackets are optional.
std::string usage(const CommandTable::Row& row);

}  // namespace HelpText

#endif
