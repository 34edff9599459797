#ifndef LOGGEDTEXT_H
#define LOGGEDTEXT_H

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

/**
 * Texts of others as they may stand in the log: without secret values, and cut where a failure is
 * logged. Secrets.h decides by name what is a secret. Making such a text costs time, so the log
 * level is asked first.
 */
namespace LoggedText {

/// At most so many bytes of a failed statement and of a refused request are logged.
constexpr std::size_t FailureSize = 4096;
constexpr std::size_t WholeText = std::string_view::npos;

/// A part of a text.
struct Stretch {
    std::size_t begin;
    std::size_t size;
};
using Stretches = std::vector<Stretch>;

/**
 * The first @p limit bytes of @p text with @p mask in place of each of @p secrets, which stand in
 * their order and do not overlap. A note at its end says how many bytes of @p text are left out.
 * Neither a mask nor a character of UTF-8 is cut in two.
 */
std::string masked(std::string_view text, const Stretches& secrets, std::string_view mask,
                   std::size_t limit);

/**
 * A request in XML, or what was meant to be one. The content of each element and the value of each
 * attribute that has the name of a secret is masked. Such an element reaches to its own end tag,
 * and without one to the end of the text.
 */
std::string request(std::string_view text, std::size_t limit = WholeText);

}  // namespace LoggedText

#endif
