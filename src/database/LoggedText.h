#ifndef LOGGEDTEXT_H
#define LOGGEDTEXT_H

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

/**
 * Prepares strings from outside for the log: without secret values, and cut when a failure is
 * logged. Secrets.h decides by name what is a secret. This costs time, so check the log level
 * first.
 */
namespace LoggedText {

/// At most this many bytes of a failed statement or a refused request are logged.
constexpr std::size_t FailureSize = 4096;
constexpr std::size_t WholeText = std::string_view::npos;

/// A part of a text.
struct Stretch {
    std::size_t begin;
    std::size_t size;
};
using Stretches = std::vector<Stretch>;

/**
 * The first @p limit bytes of @p text with @p mask in place of each of @p secrets. The secrets must
 * be sorted by position and must not overlap. A note at its end says how many bytes of @p text are
 * left out. Neither a mask nor a character of UTF-8 is cut in two.
 */
std::string masked(std::string_view text, const Stretches& secrets, std::string_view mask,
                   std::size_t limit);

/**
 * Masks a request in XML, even a malformed one. The content of each element and the value of each
 * attribute with a secret name is masked. If such an element has no end tag, it reaches to the end
 * of the string.
 */
std::string request(std::string_view text, std::size_t limit = WholeText);

}  // namespace LoggedText

#endif
