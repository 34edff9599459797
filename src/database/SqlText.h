#ifndef SQLTEXT_H
#define SQLTEXT_H

#include <string>

/// How strings are written inside statements and files.
namespace SqlText {

/// @p text with @p escape in front of each @p reserved.
std::string escaped(const std::string& text, char reserved, char escape);

}  // namespace SqlText

#endif
