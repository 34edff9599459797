#ifndef REQUESTTEXT_H
#define REQUESTTEXT_H

#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "schemas/KnownSchemas.h"

/// Names of schemas, reasons and elements are taken as they are: callers have them from the tables.
/// Only values, which come from people and files, are escaped.
/// Requests to the service, as text.
namespace RequestText {

using Values = std::vector<std::pair<std::string, std::string>>;  ///< element and value

/// How the rows of a schema are named in requests.
enum class Form {
    Rows,      ///< elements straight in the request
    List,      ///< elements in an Entry: contacts, call groups, calls, conversations
    Settings,  ///< items of any name, no rows
};
Form formOf(const KnownSchemas::Entry& schema);

/// @p text for an element; control characters that XML can't carry are in it as they are.
std::string escaped(const std::string& text);

/// <NAME>VALUE</NAME>, the value escaped.
std::string element(const std::string& name, const std::string& value);
std::string elements(const Values& values);

/// An Entry with @p values; elements of calls stand in a list of items, in which an element that is
/// repeated begins the next item.
std::string entry(const KnownSchemas::Entry& schema, const Values& values);

/// A whole request; @p body stands inside the context, if there is one.
std::string request(const std::string& schema, const std::string& reason,
                    const std::optional<std::string>& context, const std::string& body);

/// The element that names a row of @p schema by its number or key.
std::string idElement(const KnownSchemas::Entry& schema);

}  // namespace RequestText

#endif
