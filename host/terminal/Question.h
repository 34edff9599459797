#ifndef QUESTION_H
#define QUESTION_H

#include <string>

/// Questions to the person at the controlling terminal, wherever the standard streams lead: also
/// when standard input is the file that is imported.
namespace Question {

/// No terminal: a service or a script, which can't be asked.
enum class Reply { Yes, No, NoTerminal };

/// Shows @p question, which ends with "?", and waits for a line. Only "y" and "yes" mean yes.
[[nodiscard]] Reply ask(const std::string& question);

/// Whether to go on after @p question. Asked only of a person whose terminal is standard input;
/// scripts and pipes go on. "Nothing was changed" is reported for a no.
[[nodiscard]] bool mayGoOn(const std::string& question);

}  // namespace Question

#endif
