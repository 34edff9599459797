#ifndef HELPTEXT_H
#define HELPTEXT_H

#include <string>

#include "cli/CommandTable.h"

/**
 * The texts that are made from the table of commands.
 *
 * The texts are for 80 columns, whatever the terminal has: they are also read in files and through
 * pagers. The manual page says the same in the language of man, which wraps it itself.
 */
namespace HelpText {

/// Help of das as a whole.
std::string ofAll();

/// Help of one command: usage, arguments, options, examples and exit statuses.
std::string of(const CommandTable::Row& row);

/// The manual page, in the language of man.
std::string manualPage();

/// "das read SCHEMA", the command with its arguments; those in brackets need not be there.
std::string usage(const CommandTable::Row& row);

}  // namespace HelpText

#endif
