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

}  // namespace TextParts

#endif
