#ifndef NEARMISSES_H
#define NEARMISSES_H

#include <string>
#include <vector>

/**
 * Words that a person may have meant who wrote another one.
 *
 * The distance counts letters to change, add, drop or swap, as typing errors are. How far a word
 * may be off grows with its length: in a short word two wrong letters make another word.
 */
namespace NearMisses {

/// At most three of @p candidates that @p word is near to: by few letters, by case, or by being the
/// beginning or a part of one. The nearest in front.
std::vector<std::string> of(const std::string& word, const std::vector<std::string>& candidates);

/// The same as a question, "did you mean A or B?"; @p otherwise when none is near.
std::string question(const std::string& word, const std::vector<std::string>& candidates,
                     const std::string& otherwise = "");

}  // namespace NearMisses

#endif
