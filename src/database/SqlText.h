#ifndef SQLTEXT_H
#define SQLTEXT_H

#include <string>

/// How strings are written inside statements and files.
namespace SqlText {

/// @p text with @p escape in front of each @p reserved.
std::string escaped(const std::string& text, char reserved, char escape);

/// Appends what @p write appends for each element of @p list, with @p separator between them.
template <typename List, typename Write>
void appendJoined(std::string& sql, const List& list, const char* separator, Write write) {
    const char* before = "";
    for (const auto& element : list) {
        sql += before;
        before = separator;
        write(element);
    }
}

/// Appends the texts of @p list with @p separator between them.
template <typename List>
void appendJoined(std::string& sql, const List& list, const char* separator) {
    appendJoined(sql, list, separator, [&sql](const std::string& text) { sql += text; });
}

}  // namespace SqlText

#endif
