#ifndef QUOTES_H
#define QUOTES_H

#include <string>

/// @p text with each @p character replaced by @p other. Bytes are compared, so @p character must be
/// ASCII; then it can't match a part of a UTF-8 character.
inline std::string replaced(const std::string& text, char character, const char* other) {
    std::string result;
    for (const char each : text) {
        result += each == character ? std::string(other) : std::string(1, each);
    }
    return result;
}

/// @p text between two @p quote characters; each @p quote inside the text becomes @p inside. Names
/// in SQL, cells in CSV and words of the shell differ only in these two.
inline std::string quoted(const std::string& text, char quote, const char* inside) {
    return quote + replaced(text, quote, inside) + quote;
}

#endif
