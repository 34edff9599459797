#ifndef NEARMISSES_H
#define NEARMISSES_H

#include <string>
#include <vector>

/**
 * Finds words that a person may have meant by a misspelled word.
 *
 * The distance is the number of letters to change, add, drop or swap, as in typing errors. The
 * allowed distance grows with the length of the word, since two wrong letters turn a short word
 * into another word.
 */
namespace NearMisses {

/// At most three of @p candidates that are similar to @p word: they differ by few letters or by
/// case, or @p word is the beginning or a part of them. The most similar comes first.
std::vector<std::string> of(const std::string& word, const std::vector<std::string>& candidates);

/// The same as a question, "did you mean A or B?"; @p otherwise if no candidate is similar.
std::string question(const std::string& word, const std::vector<std::string>& candidates,
                     const std::string& otherwise = "");

}  // namespace NearMisses

#endif
