// One loop serves both uses: doubling quotes for SQL, and backslashes before commas in data files.
// Most strings have nothing to escape and are returned unchanged, so the characters are counted
// first.

#include "database/SqlText.h"

#include <algorithm>

std::string SqlText::escaped(const std::string& text, char reserved, char escape) {
    const auto count = std::count(text.begin(), text.end(), reserved);
    if (count == 0) {
        return text;
    }
    std::string result;
    result.reserve(text.size() + static_cast<std::size_t>(count));
    for (const char c : text) {
        if (c == reserved) {
            result += escape;
        }
        result += c;
    }
    return result;
}
