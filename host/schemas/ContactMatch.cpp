// People type numbers with blanks and brackets, with or without the country code, and contacts
// contain all these forms. So both numbers are reduced to digits and compared from the end, the
// part that all forms have in common.

#include "schemas/ContactMatch.h"

#include <utf8proc.h>

#include <algorithm>

#include "terminal/TextParts.h"

namespace {

using TextParts::contains;
using TextParts::endsWith;

constexpr std::size_t FewestDigits = 4;
const std::vector<std::string> Texts = {"Surname", "Firstname", "Company", "Email"};
const std::vector<std::string> Numbers = {"Office", "Office2", "Mobile", "Private"};

/// Unicode's simple case folding, from one character to one. If the library knows only a folding to
/// several characters, the lower-case character is used.
utf8proc_int32_t foldedCharacter(utf8proc_int32_t character) {
    constexpr utf8proc_int32_t CapitalIWithDot = 0x130;  // has no simple folding
    utf8proc_int32_t folded[8];
    int boundary = 0;
    const auto count = utf8proc_decompose_char(character, folded, 8, UTF8PROC_CASEFOLD, &boundary);
    if (count == 1) {
        return folded[0];
    }
    return character == CapitalIWithDot ? character : utf8proc_tolower(character);
}

/// Bytes that are not valid UTF-8 do not change.
std::string folded(const std::string& text) {
    std::string result;
    result.reserve(text.size());
    for (std::size_t place = 0; place < text.size();) {
        const auto byte = static_cast<unsigned char>(text[place]);
        if (byte < 0x80) {
            result += static_cast<char>(byte >= 'A' && byte <= 'Z' ? byte + 32 : byte);
            ++place;
            continue;
        }
        utf8proc_int32_t character = 0;
        const auto length =
            utf8proc_iterate(reinterpret_cast<const utf8proc_uint8_t*>(text.data()) + place,
                             static_cast<utf8proc_ssize_t>(text.size() - place), &character);
        if (length <= 0) {
            result += text[place++];
            continue;
        }
        utf8proc_uint8_t written[4];
        const auto size = utf8proc_encode_char(foldedCharacter(character), written);
        result.append(reinterpret_cast<const char*>(written), static_cast<std::size_t>(size));
        place += static_cast<std::size_t>(length);
    }
    return result;
}

/// A number without the marks between its digits and without the prefix for another country or
/// town.
std::string bareNumber(const std::string& text) {
    std::string number;
    for (const char character : text) {
        if (std::string(" ()[]{}-/.\t").find(character) == std::string::npos) {
            number += character;
        }
    }
    for (const char* const front : {"+", "00", "0"}) {
        if (number.rfind(front, 0) == 0) {
            return number.substr(std::string(front).size());
        }
    }
    return number;
}

}  // namespace

ContactMatch::ContactMatch(const std::string& text) : m_folded(folded(text)) {
    const std::string number = bareNumber(text);
    const bool isNumber = number.size() >= FewestDigits &&
                          number.find_first_not_of("0123456789") == std::string::npos;
    m_digits = isNumber ? number : "";
}

const std::vector<std::string>& ContactMatch::columns() {
    static const std::vector<std::string> all = [] {
        std::vector<std::string> names = Texts;
        names.insert(names.end(), Numbers.begin(), Numbers.end());
        return names;
    }();
    return all;
}

bool ContactMatch::fits(const std::string& column, const std::string& value) const {
    if (contains(Texts, column)) {
        return folded(value).find(m_folded) != std::string::npos;
    }
    return !m_digits.empty() && contains(Numbers, column) && endsWith(bareNumber(value), m_digits);
}
