#ifndef METHODCONTRACT_H
#define METHODCONTRACT_H

#include <string>

/// The form of the remote methods' messages, for programs that check or generate them.
namespace MethodContract {

/**
 * A JSON schema of every message in JSON: a call, or a message for a listener.
 *
 * Under "$defs", "calls" and "results" have the call and the result of each method by its name,
 * "events" the messages for listeners, and "errors" the answers to texts that are no calls. "xml"
 * is not used to check messages: it lists each method's parameters in the other protocol, with
 * names and types of the in and out parameters.
 */
std::string json();

/// An OpenRPC document of the methods, for generators of clients. Messages for listeners are under
/// "x-notifications", because OpenRPC has no calls by the server.
std::string openRpc();

}  // namespace MethodContract

#endif
