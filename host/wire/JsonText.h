#ifndef JSONTEXT_H
#define JSONTEXT_H

#include <string>
#include <string_view>

/// Writes JSON strings. Characters that need no escape are copied in runs, because answers are long
/// and mostly consist of them.
namespace JsonText {

/// Appends @p text between quotes to @p out. Bytes that are not UTF-8 become U+FFFD. False if
/// @p out would be longer than @p limit; it is incomplete then. Only control characters, quotes and
/// backslashes are escaped, so that other programs show the text as people wrote it.
[[nodiscard]] bool append(std::string& out, std::string_view text, std::size_t limit);

/// @p text between quotes.
std::string quoted(std::string_view text);

}  // namespace JsonText

#endif
