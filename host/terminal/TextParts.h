#ifndef TEXTPARTS_H
#define TEXTPARTS_H

#include <algorithm>
#include <string>
#include <string_view>
#include <vector>

/// Comparisons of strings that C++17 does not have. Strings are compared byte by byte.
namespace TextParts {

/// True for an empty @p part; the same holds for endsWith().
inline bool startsWith(std::string_view text, std::string_view part) {
    return text.substr(0, part.size()) == part;
}

inline bool endsWith(std::string_view text, std::string_view part) {
    return text.size() >= part.size() && text.substr(text.size() - part.size()) == part;
}

/// Whether @p list has an element that is @p text.
inline bool contains(const std::vector<std::string>& list, std::string_view text) {
    return std::find(list.begin(), list.end(), text) != list.end();
}

/// @p text with @p other in place of each @p part, which is not empty.
inline std::string withText(std::string text, std::string_view part, std::string_view other) {
    for (std::size_t at = text.find(part); at != std::string::npos;
         at = text.find(part, at + other.size())) {
        text.replace(at, part.size(), other);
    }
    return text;
}

}  // namespace TextParts

#endif
