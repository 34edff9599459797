#include "terminal/TerminalText.h"

#include <utf8proc.h>

#include <algorithm>
#include <cstdio>
#include <iterator>
#include <string_view>

#include "terminal/Utf8.h"

namespace {

constexpr const char* CutMark = "\xe2\x80\xa6";          // U+2026
constexpr const char* ReplacementMark = "\xef\xbf\xbd";  // U+FFFD

struct CharacterRange {
    char32_t first;
    char32_t last;
};

/// Marks that turn the direction of all that follows on a line.
constexpr CharacterRange Turns[] = {
    {0x61c, 0x61c}, {0x200e, 0x200f}, {0x2028, 0x202e}, {0x2066, 0x2069}};

bool turnsDirection(char32_t character) {
    return std::any_of(std::begin(Turns), std::end(Turns),
                       [character](const CharacterRange& range) {
                           return range.first <= character && character <= range.last;
                       });
}

/// Bytes of the character that begins @p text, 0 when it is no UTF-8.
std::size_t sizeOfFirst(std::string_view text) {
    const auto lead = static_cast<unsigned char>(text.front());
    const std::size_t size = lead < 0x80 ? 1 : lead < 0xe0 ? 2 : lead < 0xf0 ? 3 : 4;
    return size <= text.size() && Utf8::isValid(text.substr(0, size)) ? size : 0;
}

/// The number of a character in UTF-8.
char32_t numberOf(std::string_view bytes) {
    constexpr unsigned char masks[] = {0x7f, 0x1f, 0x0f, 0x07};
    char32_t number = static_cast<unsigned char>(bytes.front()) & masks[bytes.size() - 1];
    for (const char byte : bytes.substr(1)) {
        number = (number << 6) | (static_cast<unsigned char>(byte) & 0x3f);
    }
    return number;
}

bool isControl(char32_t character) {
    return character < 0x20 || (character >= 0x7f && character < 0xa0);
}

std::string escaped(char32_t character) {
    switch (character) {
        case '\n':
            return "\\n";
        case '\t':
            return "\\t";
        default:
            break;
    }
    char text[16];
    std::snprintf(text, sizeof text, isControl(character) ? "\\x%02x" : "\\u{%04x}",
                  static_cast<unsigned>(character));
    return text;
}

std::size_t widthOf(char32_t character) {
    constexpr char32_t SoftHyphen = 0xad;  // terminals don't show it
    const int width = utf8proc_charwidth(static_cast<utf8proc_int32_t>(character));
    return character == SoftHyphen || width < 0 ? 0 : static_cast<std::size_t>(width);
}

/// Calls @p take with each character of a text that was made visible, as bytes, and its width; as
/// long as it gives true.
template <typename Take>
void forEachCharacter(std::string_view text, Take take) {
    while (!text.empty()) {
        const std::size_t size = std::max<std::size_t>(sizeOfFirst(text), 1);
        if (!take(text.substr(0, size), widthOf(numberOf(text.substr(0, size))))) {
            return;
        }
        text.remove_prefix(size);
    }
}

std::size_t widthOfVisible(std::string_view text) {
    std::size_t columns = 0;
    forEachCharacter(text, [&](std::string_view, std::size_t width) {
        columns += width;
        return true;
    });
    return columns;
}

}  // namespace

std::string TerminalText::visible(const std::string& text) {
    std::string shown;
    for (std::string_view rest = text; !rest.empty();) {
        const std::size_t size = sizeOfFirst(rest);
        const char32_t character = size > 0 ? numberOf(rest.substr(0, size)) : 0;
        if (size == 0) {
            shown += ReplacementMark;
        } else if (isControl(character) || turnsDirection(character)) {
            shown += escaped(character);
        } else {
            shown += rest.substr(0, size);
        }
        rest.remove_prefix(std::max<std::size_t>(size, 1));
    }
    return shown;
}

std::size_t TerminalText::width(const std::string& text) {
    return widthOfVisible(visible(text));
}

std::string TerminalText::cut(const std::string& text, std::size_t columns) {
    std::string shown = visible(text);
    if (widthOfVisible(shown) <= columns) {
        return shown;
    }
    std::string kept;
    std::size_t used = 0;
    forEachCharacter(shown, [&](std::string_view character, std::size_t width) {
        if (used + width + 1 > columns) {
            return false;
        }
        used += width;
        kept += character;
        return true;
    });
    return columns == 0 ? "" : kept + CutMark;
}
