// The library decodes; what XML can carry is not its business.

#include "terminal/Utf8.h"

#include <utf8proc.h>

#include <algorithm>

namespace {

const char* const Replacement = "\xEF\xBF\xBD";

bool isCarriedByXml(char32_t character) {
    return character >= 0x20 ? character != 0xfffe && character != 0xffff
                             : character == '\t' || character == '\n' || character == '\r';
}

}  // namespace

std::string_view Utf8::first(std::string_view text, char32_t& character) {
    if (const auto byte = static_cast<unsigned char>(text.front()); byte < 0x80) {
        character = byte;  // most texts have no others
        return text.substr(0, 1);
    }
    utf8proc_int32_t number = 0;
    const auto length = utf8proc_iterate(reinterpret_cast<const utf8proc_uint8_t*>(text.data()),
                                         static_cast<utf8proc_ssize_t>(text.size()), &number);
    character = static_cast<char32_t>(number);
    return text.substr(0, length > 0 ? static_cast<std::size_t>(length) : 0);
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
    // A character has at most three bytes that continue it, so after four of them none is open.
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
