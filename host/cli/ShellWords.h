#ifndef SHELLWORDS_H
#define SHELLWORDS_H

#include <string>
#include <vector>

#include "cli/Completion.h"

/// Parses lines that a person types into the shell of das. Only blanks, quotes and backslashes have
/// a meaning; there are no variables, patterns or pipes.
namespace ShellWords {

/// Splits @p line at blanks. Blanks inside single or double quotes and the character after a
/// backslash are kept. False if a quote is not closed.
[[nodiscard]] bool split(const std::string& line, std::vector<std::string>& words);

/// The commands of the shell: those that work on a session, and its own.
std::vector<std::string> commands();

/// Possible completions. @p line is the text before the word at the cursor.
std::vector<std::string> candidates(const std::string& line, const Completion::Items& items);

}  // namespace ShellWords

#endif
