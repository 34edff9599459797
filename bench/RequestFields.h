#ifndef REQUESTFIELDS_H
#define REQUESTFIELDS_H

#include <string>
#include <utility>
#include <vector>

namespace Bench {

/// What a program written by hand takes from a request: its schema, and the elements that hold no
/// others, in their order. It reads by expat, as the service does: the entities and the encoding of
/// XML are part of what any answer needs.
struct RequestFields {
    static RequestFields of(const std::string& request);

    /// The text of the first element @p name; blank without one.
    const std::string& value(const char* name) const;

    std::string schema;
    std::vector<std::pair<std::string, std::string>> leaves;  ///< name and text; no reason
};

/// @p text as a value in SQL.
std::string quoted(const std::string& text);

}  // namespace Bench

#endif
