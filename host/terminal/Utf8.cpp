#include "terminal/Utf8.h"

#include <algorithm>

namespace {

const char* const Replacement = "\xEF\xBF\xBD";

/// What may stand first, how many bytes follow it, and the range of the first of these; that range
/// is where overlong forms, surrogates and numbers beyond the last character are shut out.
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

/// The number of bytes of the character at the front of @p text, which is not empty; 0 for none.
std::size_t lengthOfFirst(std::string_view text) {
    const Utf8::Front front = Utf8::front(text);
    return front.isCharacter ? front.size : 0;
}

bool isCarriedByXml(std::string_view character) {
    if (character.size() == 1) {
        const auto byte = static_cast<unsigned char>(character[0]);
        return byte >= 0x20 || byte == '\t' || byte == '\n' || byte == '\r';
    }
    return character != "\xEF\xBF\xBE" && character != "\xEF\xBF\xBF";
}

}  // namespace

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
    while (!text.empty()) {
        const std::size_t length = lengthOfFirst(text);
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
    // Behind four bytes that only continue a character none is open: it has three of them at most.
    return continues(end) ? length : end;
}

std::string Utf8::forXml(std::string_view text) {
    std::string result;
    result.reserve(text.size());
    while (!text.empty()) {
        const std::size_t length = lengthOfFirst(text);
        const std::string_view character = text.substr(0, std::max<std::size_t>(length, 1));
        result.append(length > 0 && isCarriedByXml(character) ? character : Replacement);
        text.remove_prefix(character.size());
    }
    return result;
}
