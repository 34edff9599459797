#ifndef REQUESTTEXT_H
#define REQUESTTEXT_H

#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "schemas/KnownSchemas.h"

/// Builds requests to the service as text. Names of schemas, reasons and elements come from the
/// tables and are not escaped. Values come from people and files and are escaped.
namespace RequestText {

using Values = std::vector<std::pair<std::string, std::string>>;  ///< element and value

/// How a request contains the rows of a schema.
enum class Form {
    Rows,      ///< elements directly in the request
    List,      ///< elements in an Entry: contacts, call groups, calls, conversations
    Settings,  ///< items of any name, no rows
};
Form formOf(const KnownSchemas::Entry& schema);

/// @p text as the content of an element. Control characters that XML can't carry are not changed.
std::string escaped(const std::string& text);

/// <NAME>VALUE</NAME>, the value escaped.
std::string element(const std::string& name, const std::string& value);
std::string elements(const Values& values);

/// An Entry with @p values. Elements of calls are put into a list of items, in which a repeated
/// element begins the next item.
std::string entry(const KnownSchemas::Entry& schema, const Values& values);

/// A whole request; @p body is inside the context, if there is a context.
std::string request(const std::string& schema, const std::string& reason,
                    const std::optional<std::string>& context, const std::string& body);

/// The element that names a row of @p schema by its number or key.
std::string idElement(const KnownSchemas::Entry& schema);

}  // namespace RequestText

#endif
