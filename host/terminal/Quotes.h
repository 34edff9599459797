#ifndef QUOTES_H
#define QUOTES_H

#include <string>

/// @p text with @p other for each @p character.
/// Bytes are compared, so @p character must be one of ASCII: then no part of a character of UTF-8
/// can be hit.
inline std::string replaced(const std::string& text, char character, const char* other) {
    std::string result;
    for (const char each : text) {
        result += each == character ? std::string(other) : std::string(1, each);
    }
    return result;
}

/// @p text between two @p quote, for a language that ends a text by it; @p inside stands for one
/// that is in the text. Names of SQL, cells of CSV and words of the shell differ only in these.
inline std::string quoted(const std::string& text, char quote, const char* inside) {
    return quote + replaced(text, quote, inside) + quote;
}

#endif
