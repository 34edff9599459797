#ifndef JSONRPC_H
#define JSONRPC_H

#include <optional>
#include <string>
#include <string_view>

#include "Method.h"

/**
 * Messages of JSON-RPC 2.0 with named parameters.
 *
 * A JSON string becomes a String parameter, an integer of 32 bits an Int, true and false a Bool;
 * other values are ignored. Both kinds of text, String and Xml, are written as strings.
 */
namespace JsonRpc {

/// How deep objects and arrays may be nested, including the message itself. A deeper text counts as
/// invalid JSON.
constexpr std::size_t DepthLimit = 32;

/// The contents of one line.
struct Message {
    bool isJson = false;
    bool hasVersion = false;        ///< "jsonrpc" is there and is "2.0"
    bool hasMethod = false;         ///< "method" is there and is a string
    bool hasBadId = false;          ///< "id" is there and is not a string, number or null
    bool hasError = false;          ///< "error" is there
    std::optional<std::string> id;  ///< the id in its JSON form; no value for a notification
    Method method;                  ///< the name, and the members of "params" or of "result"

    bool isRequest() const { return isJson && hasVersion && hasMethod && !hasBadId; }
};

/// How many parameters a message may have, because each takes many times the memory of its text. A
/// message with more counts as invalid JSON.
constexpr std::size_t ParameterLimit = 1000;

/// Parses one line, without its line feed.
Message read(std::string_view line);

/// @p method as a message without an id. Without parameters it has no "params". Bytes that are not
/// UTF-8 are replaced.
std::string notification(const Method& method);

/// Turns the result of notification() into a call. @p id is in JSON form.
std::string toCall(const std::string& notification, const std::string& id);

/// The answer to the call @p id, which is in JSON form, with the parameters of @p reply. No value
/// if it would be longer than @p limit.
std::optional<std::string> answer(const Method& reply, const std::string& id, std::size_t limit);

extern const std::string ParseError;      ///< the answer to invalid JSON
extern const std::string InvalidRequest;  ///< the answer to JSON that is not a request

}  // namespace JsonRpc

#endif
