#ifndef COMPLETION_H
#define COMPLETION_H

#include <functional>
#include <string>
#include <vector>

#include "schemas/KnownSchemas.h"

/**
 * What may come next on a command line of das.
 *
 * The shells bash, zsh and fish ask das itself ("das --complete LINE") through small files in
 * packaging/completion, and "das shell" calls the same code. So all of them use the tables of
 * commands, schemas and methods, and none needs a list of its own.
 */
namespace Completion {

struct Candidate {
    std::string word;
    std::string text;  ///< what it is, in a sentence; blank if there is nothing to say
};

/// Placeholders for names of files or folders, which a shell completes better by itself.
extern const char* const Files;
extern const char* const Folders;

/// Returns the stored items of a schema of settings, which may have any name.
using Items = std::function<std::vector<std::string>(const KnownSchemas::Entry& schema)>;

/// Possible completions of @p current, the unfinished word, after @p words of a shell's command
/// line, which begin after "das".
std::vector<Candidate> after(const std::vector<std::string>& words, const std::string& current,
                             const Items& items);

/// The same for a line of "das shell", which has only the commands of @p commands.
std::vector<Candidate> afterInShell(const std::vector<std::string>& words,
                                    const std::string& current, const Items& items,
                                    const std::vector<std::string>& commands);

/**
 * Answers "das --complete LINE". @p line is a command line up to the cursor, with the name of the
 * program.
 *
 * @return a line for each candidate: the word, and after a tab what it is. ":files" and ":folders"
 *         ask the shell for names of its own.
 */
std::string answer(const std::string& line);

}  // namespace Completion

#endif
