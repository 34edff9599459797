#ifndef UTF8_H
#define UTF8_H

#include <string>
#include <string_view>

/// UTF-8 as messages carry it: no overlong forms, no surrogates, nothing above U+10FFFF.
namespace Utf8 {

/// Whether all of @p text is UTF-8.
bool isValid(std::string_view text);

/// @p text with U+FFFD for each byte that is no UTF-8 and for each character that XML can't carry,
/// which are most control characters, U+FFFE and U+FFFF.
std::string forXml(std::string_view text);

}  // namespace Utf8

#endif
