// A table decides where a character ends, because the library does not report how many bytes of an
// invalid character belong together. The library returns the number of a character.

#include "terminal/Utf8.h"

#include <utf8proc.h>

#include <algorithm>

namespace {

const char* const Replacement = "\xEF\xBF\xBD";

/// The first byte of a character, how many bytes follow, and the range of the second one. That
/// range excludes overlong forms, surrogates and numbers beyond the last character.
struct Lead {
    unsigned char first, last;
    std::size_t following;
    unsigned char secondFirst, secondLast;
};

constexpr Lead Leads[] = {
    {0x00, 0x7f, 0, 0x80, 0xbf}, {0xc2, 0xdf, 1, 0x80, 0xbf}, {0xe0, 0xe0, 2, 0xa0, 0xbf},
    {0xe1, 0xec, 2, 0x80, 0xbf}, {0xed, 0xed, 2, 0x80, 0x9f}, {0xee, 0xef, 2, 0x80, 0xbf},
    {0xf0, 0xf0, 3, 0x90, 0xbf}, {0xf1, 0xf3, 3, 0x80, 0xbf}, {0xf4, 0xf4, 3, 0x80, 0x8f},
};

bool isCarriedByXml(char32_t character) {
    return character >= 0x20 ? character != 0xfffe && character != 0xffff
                             : character == '\t' || character == '\n' || character == '\r';
}

}  // namespace

std::string_view Utf8::first(std::string_view text, char32_t& character) {
    if (const auto byte = static_cast<unsigned char>(text.front()); byte < 0x80) {
        character = byte;  // most texts have no other characters
        return text.substr(0, 1);
    }
    const Front found = front(text);
    utf8proc_int32_t number = 0;
    (void)utf8proc_iterate(reinterpret_cast<const utf8proc_uint8_t*>(text.data()),
                           static_cast<utf8proc_ssize_t>(found.size), &number);
    character = static_cast<char32_t>(number);
    return text.substr(0, found.isCharacter ? found.size : 0);
}

Utf8::Front Utf8::front(std::string_view text) {
    const auto byte = [text](std::size_t at) { return static_cast<unsigned char>(text[at]); };
    const auto* const lead = std::find_if(
        std::begin(Leads), std::end(Leads),
        [&](const Lead& each) { return each.first <= byte(0) && byte(0) <= each.last; });
    if (lead == std::end(Leads)) {
        return {1, false};
    }
    std::size_t size = 1;
    for (; size <= lead->following && size < text.size(); ++size) {
        const bool isSecond = size == 1;
        if (byte(size) < (isSecond ? lead->secondFirst : 0x80) ||
            byte(size) > (isSecond ? lead->secondLast : 0xbf)) {
            break;
        }
    }
    return {size, size == lead->following + 1};
}

bool Utf8::isValid(std::string_view text) {
    char32_t ignored = 0;
    while (!text.empty()) {
        const std::size_t length = first(text, ignored).size();
        if (length == 0) {
            return false;
        }
        text.remove_prefix(length);
    }
    return true;
}

std::size_t Utf8::endOfPiece(std::string_view text, std::size_t length) {
    if (text.size() <= length) {
        return text.size();
    }
    const auto continues = [text](std::size_t at) {
        return (static_cast<unsigned char>(text[at]) & 0xc0U) == 0x80U;
    };
    std::size_t end = length;
    for (int back = 0; back < 3 && continues(end); ++back) {
        --end;
    }
    // A character has at most three continuation bytes, so after four of them no character is
    // incomplete.
    return continues(end) ? length : end;
}

std::string Utf8::forXml(std::string_view text) {
    std::string result;
    result.reserve(text.size());
    while (!text.empty()) {
        char32_t number = 0;
        const std::string_view character = first(text, number);
        result.append(!character.empty() && isCarriedByXml(number) ? character : Replacement);
        text.remove_prefix(std::max<std::size_t>(character.size(), 1));
    }
    return result;
}
