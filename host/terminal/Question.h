#ifndef QUESTION_H
#define QUESTION_H

#include <string>

/// Questions to the person at the controlling terminal, even if standard input is the file that is
/// imported.
namespace Question {

/// NoTerminal: a service or a script, which can't be asked.
enum class Reply { Yes, No, NoTerminal };

/// Shows @p question, which ends with "?", and waits for a line. Only "y" and "yes" mean yes.
[[nodiscard]] Reply ask(const std::string& question);

/// Whether to continue after @p question. It is asked only if standard input is a terminal; scripts
/// and pipes continue. If the answer is no, "Nothing was changed" is reported.
[[nodiscard]] bool mayGoOn(const std::string& question);

}  // namespace Question

#endif
