#ifndef METHODCONTRACT_H
#define METHODCONTRACT_H

#include <string>

/// What the messages of the remote methods look like, for programs that check or generate them.
namespace MethodContract {

/**
 * A JSON schema of every message in JSON: a call, or one that a listener hears.
 *
 * Below "$defs", "calls" and "results" hold the call and the result of each method by its name, and
 * "events" what a listener hears, "errors" the answers to what is no call. "xml", which no message
 * is checked by, has the parameters of the other protocol for each method: the names and types of
 * those that go in and of those that come out.
 */
std::string json();

/// An OpenRPC document of the methods, for generators of clients. What listeners hear stands under
/// "x-notifications", since OpenRPC knows of no calls by the server.
std::string openRpc();

}  // namespace MethodContract

#endif
