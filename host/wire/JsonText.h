#ifndef JSONTEXT_H
#define JSONTEXT_H

#include <string>
#include <string_view>

/// Strings of JSON. What need not be escaped is taken over in runs: answers are long, and most of
/// their bytes are of that kind.
namespace JsonText {

/// Appends @p text between quotes to @p out. What is no UTF-8 becomes U+FFFD. False when @p out
/// would be longer than @p limit; its end is not whole then.
/// Control characters, quotes and backslashes are escaped, and nothing else is: other programs show
/// the text as people wrote it.
[[nodiscard]] bool append(std::string& out, std::string_view text, std::size_t limit);

/// @p text between quotes.
std::string quoted(std::string_view text);

}  // namespace JsonText

#endif
