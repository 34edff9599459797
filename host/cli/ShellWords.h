#ifndef SHELLWORDS_H
#define SHELLWORDS_H

#include <string>
#include <vector>

#include "cli/Completion.h"

/// Lines that a person types into the shell of das. Only what a person expects of a shell's words
/// is done: blanks, quotes, backslashes; no variables, patterns or pipes.
namespace ShellWords {

/// Cuts @p line at blanks. Single and double quotes keep blanks, a backslash keeps the next
/// character. False when a quote is not closed.
[[nodiscard]] bool split(const std::string& line, std::vector<std::string>& words);

/// The commands of the shell: those that work on a session, and its own.
std::vector<std::string> commands();

/// What may come next. @p line is what stands before the word, or the part of a word, at the
/// cursor.
std::vector<std::string> candidates(const std::string& line, const Completion::Items& items);

}  // namespace ShellWords

#endif
