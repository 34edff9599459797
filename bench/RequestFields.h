#ifndef REQUESTFIELDS_H
#define REQUESTFIELDS_H

#include <string>
#include <utility>
#include <vector>

namespace Bench {

/// The parts of a request that a hand-written program needs: its schema, and the elements without
/// child elements, in order. It is parsed by expat, as in the service, because any program must
/// handle XML's entities and encoding.
struct RequestFields {
    static RequestFields of(const std::string& request);

    /// The text of the first element @p name; blank without one.
    const std::string& value(const char* name) const;

    std::string schema;
    std::vector<std::pair<std::string, std::string>> leaves;  ///< name and content, without the
                                                              ///< reason
};

/// @p text as a value in SQL.
std::string quoted(const std::string& text);

}  // namespace Bench

#endif
