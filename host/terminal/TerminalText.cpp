// The text is decoded first, and then each character is escaped or not: a control character of the
// second range has two bytes in UTF-8, and a terminal could interpret invalid bytes in any way.

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

/// Marks that change the direction of the following text on a line.
constexpr CharacterRange Turns[] = {
    {0x61c, 0x61c}, {0x200e, 0x200f}, {0x2028, 0x202e}, {0x2066, 0x2069}};

bool turnsDirection(char32_t character) {
    return std::any_of(std::begin(Turns), std::end(Turns),
                       [character](const CharacterRange& range) {
                           return range.first <= character && character <= range.last;
                       });
}

bool isControl(char32_t character) {
    return character < 0x20 || (character >= 0x7f && character < 0xa0);
}

std::string escaped(char32_t character) {
    if (character == '\n' || character == '\t') {
        return character == '\n' ? "\\n" : "\\t";
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

/// Calls @p take with the bytes and the width of each character of a text made visible, as long as
/// it returns true.
template <typename Take>
void forEachCharacter(std::string_view text, Take take) {
    while (!text.empty()) {
        char32_t number = 0;
        const std::string_view character = Utf8::first(text, number);
        if (!take(character, widthOf(number))) {
            return;
        }
        text.remove_prefix(character.size());
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
        char32_t number = 0;
        const std::string_view character = Utf8::first(rest, number);
        if (character.empty()) {
            shown += ReplacementMark;
        } else if (isControl(number) || turnsDirection(number)) {
            shown += escaped(number);
        } else {
            shown += character;
        }
        rest.remove_prefix(std::max<std::size_t>(character.size(), 1));
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
