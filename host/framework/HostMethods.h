#ifndef HOSTMETHODS_H
#define HOSTMETHODS_H

#include <memory>
#include <optional>
#include <string>

#include "Method.h"

class Client;
class Executable;
class HostFramework;

/// A call of one of the host's own methods, with everything that such a method may need. All
/// references are valid during the call.
struct HostCall {
    const Method& request;
    const std::string& protocol;  ///< of the message
    const std::shared_ptr<Client>& client;
    HostFramework& framework;
    Executable& service;
};

/**
 * The host's own methods: a function for each row of that kind in the table Methods.
 *
 * They do what the service can't do itself: send the log and committed changes to listeners, report
 * why a client's last call failed, count calls, and transfer tables as text. To add one, add a row
 * to the table of methods, and a row with its function here.
 */
namespace HostMethods {

/// The complete answer to @p call; no value if the method is not one of the host's own.
std::optional<Method> answer(const HostCall& call);

}  // namespace HostMethods

#endif
