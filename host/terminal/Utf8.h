#ifndef UTF8_H
#define UTF8_H

#include <cstddef>
#include <string>
#include <string_view>

/// UTF-8 as messages carry it: no overlong forms, no surrogates, nothing above U+10FFFF. Stored
/// texts may be anything, since the service keeps bytes; what the host writes into JSON or XML must
/// be UTF-8.
namespace Utf8 {

/// The bytes of the character that begins @p text, which is not empty, and its number in
/// @p character. Empty when @p text does not begin with UTF-8.
std::string_view first(std::string_view text, char32_t& character);

/// The front of a text. Where no character stands there, the bytes that begin one and do not end
/// it, or one byte: one replacement stands for all of them, as writers of JSON have it.
struct Front {
    std::size_t size;
    bool isCharacter;
};

/// What stands at the front of @p text, which is not empty.
Front front(std::string_view text);

/// Whether all of @p text is UTF-8.
bool isValid(std::string_view text);

/// @p text with U+FFFD for each byte that is no UTF-8 and for each character that XML can't carry,
/// which are most control characters, U+FFFE and U+FFFF.
std::string forXml(std::string_view text);

/// Where @p text is to be cut so that the first part has about @p length bytes, 3 at least, and no
/// character is cut in two; its size when it is not longer than that.
std::size_t endOfPiece(std::string_view text, std::size_t length);

}  // namespace Utf8

#endif
