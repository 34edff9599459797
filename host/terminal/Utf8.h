#ifndef UTF8_H
#define UTF8_H

#include <cstddef>
#include <string>
#include <string_view>

/// UTF-8 as messages contain it: no overlong forms, no surrogates, nothing above U+10FFFF. Stored
/// strings may be any bytes, but what the host writes into JSON or XML must be UTF-8.
namespace Utf8 {

/// The bytes of the first character of @p text, which is not empty, and its number in @p character.
/// Empty if @p text does not begin with valid UTF-8.
std::string_view first(std::string_view text, char32_t& character);

/// The beginning of a text. If no character begins there, these are the bytes of an incomplete
/// character, or one byte: together they become one replacement character, as other writers of JSON
/// do.
struct Front {
    std::size_t size;
    bool isCharacter;
};

/// The beginning of @p text, which is not empty.
Front front(std::string_view text);

/// Whether all of @p text is UTF-8.
bool isValid(std::string_view text);

/// @p text with U+FFFD for each invalid byte and for each character that XML can't carry: most
/// control characters, U+FFFE and U+FFFF.
std::string forXml(std::string_view text);

/// Where to cut @p text so that the first part has about @p length bytes (at least 3) and no
/// character is cut in two. The size of @p text if it is not longer.
std::size_t endOfPiece(std::string_view text, std::size_t length);

}  // namespace Utf8

#endif
