#ifndef JSONRPC_H
#define JSONRPC_H

#include <optional>
#include <string>
#include <string_view>

#include "Method.h"

/**
 * Messages of JSON-RPC 2.0 with named parameters.
 *
 * A string is a String parameter, a whole number of 32 bits an Int, true and false a Bool; other
 * values are left out. Both kinds of text, String and Xml, are written as strings.
 */
namespace JsonRpc {

/// How many objects and arrays may stand in one another, the message itself among them. What is
/// deeper counts as no JSON.
constexpr std::size_t DepthLimit = 32;

/// What one line says.
struct Message {
    bool isJson = false;
    bool hasVersion = false;        ///< "jsonrpc" is there and is "2.0"
    bool hasMethod = false;         ///< "method" is there and is a string
    bool hasBadId = false;          ///< "id" is there and is no string, number or null
    bool hasError = false;          ///< "error" is there
    std::optional<std::string> id;  ///< the id as it is written in JSON; none for a notification
    Method method;                  ///< the name, and the members of "params" or of "result"

    bool isRequest() const { return isJson && hasVersion && hasMethod && !hasBadId; }
};

/// How many parameters a message may have: each takes many times its text. What has more counts as
/// no JSON.
constexpr std::size_t ParameterLimit = 1000;

/// Reads one line, without its line feed.
Message read(std::string_view line);

/// @p method as a message without an id; without parameters their member is left out. Bytes
/// that are no UTF-8 are replaced.
std::string notification(const Method& method);

/// Makes a call out of what notification() gave. @p id is in JSON.
std::string toCall(const std::string& notification, const std::string& id);

/// The answer to the call @p id, which is in JSON: the parameters of @p reply. None when it would
/// be longer than @p limit.
std::optional<std::string> answer(const Method& reply, const std::string& id, std::size_t limit);

extern const std::string ParseError;      ///< the answer to what is no JSON
extern const std::string InvalidRequest;  ///< the answer to JSON that is no request

}  // namespace JsonRpc

#endif
