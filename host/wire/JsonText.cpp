// Answers of several megabytes are written here, and nearly all their bytes are plain. Eight bytes
// are tested at once by arithmetic on a word, and whole runs are copied. Only bytes that are not
// plain are examined one by one.

#include "wire/JsonText.h"

#include <cstdint>
#include <cstring>

#include "terminal/Utf8.h"

namespace {

const char* const Replacement = "\xEF\xBF\xBD";

constexpr std::uint64_t inEachByte(unsigned char byte) {
    return 0x0101010101010101U * byte;
}

/// Whether a byte of @p bytes is zero. A byte of 0x80 or more may give a false positive.
constexpr bool hasZero(std::uint64_t bytes) {
    return ((bytes - inEachByte(1)) & ~bytes & inEachByte(0x80)) != 0;
}

bool isPlain(char character) {
    const auto byte = static_cast<unsigned char>(character);
    return byte >= 0x20 && byte < 0x80 && byte != '"' && byte != '\\';
}

/// Whether eight bytes are all plain: below 0x80, no control characters, no characters to escape.
bool arePlain(const char* bytes) {
    std::uint64_t word = 0;
    std::memcpy(&word, bytes, sizeof(word));
    const bool hasControl = ((word - inEachByte(0x20)) & ~word & inEachByte(0x80)) != 0;
    return (word & inEachByte(0x80)) == 0 && !hasControl && !hasZero(word ^ inEachByte('"')) &&
           !hasZero(word ^ inEachByte('\\'));
}

/// How many bytes from @p at on can be copied unchanged; only complete characters.
std::size_t lengthOfRun(std::string_view text, std::size_t at) {
    const std::size_t begin = at;
    while (at < text.size()) {
        if (text.size() - at >= sizeof(std::uint64_t) && arePlain(text.data() + at)) {
            at += sizeof(std::uint64_t);
        } else if (isPlain(text[at])) {
            ++at;
        } else {
            const Utf8::Front front = Utf8::front(text.substr(at));
            if (front.size == 1 || !front.isCharacter) {
                break;
            }
            at += front.size;
        }
    }
    return at - begin;
}

void appendEscaped(std::string& out, char character) {
    constexpr std::string_view shortNames = "\"\"\\\\\bb\ff\nn\rr\tt";
    for (std::size_t i = 0; i < shortNames.size(); i += 2) {
        if (shortNames[i] == character) {
            out += '\\';
            out += shortNames[i + 1];
            return;
        }
    }
    constexpr const char* digits = "0123456789abcdef";
    const auto number = static_cast<unsigned char>(character);
    out += "\\u00";
    out += digits[number >> 4U];
    out += digits[number & 0xfU];
}

}  // namespace

bool JsonText::append(std::string& out, std::string_view text, std::size_t limit) {
    out += '"';
    for (std::size_t at = 0; at < text.size();) {
        const std::size_t length = lengthOfRun(text, at);
        if (length > limit || out.size() > limit - length) {
            return false;
        }
        out.append(text, at, length);
        at += length;
        if (at < text.size()) {
            const Utf8::Front front = Utf8::front(text.substr(at));
            if (front.isCharacter) {
                appendEscaped(out, text[at]);
            } else {
                out += Replacement;
            }
            at += front.size;
        }
    }
    out += '"';
    return out.size() <= limit;
}

std::string JsonText::quoted(std::string_view text) {
    std::string out;
    out.reserve(text.size() + 2);
    (void)append(out, text, std::string::npos);
    return out;
}
