#ifndef HOSTMETHODS_H
#define HOSTMETHODS_H

#include <memory>
#include <optional>
#include <string>

#include "Method.h"

class Client;
class Executable;
class HostFramework;

/// A call of one of the host's own methods, with what such a method may need. All of it lives as
/// long as the call.
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
 * They are what the service can't do itself: to listen to the log and to committed changes over the
 * wire, to say what a client's last call failed of, to count, and to carry files as text. A new one
 * costs a row in the table of methods and a row with its function here.
 */
namespace HostMethods {

/// The answer to @p call, complete but for the sending; none if the method is not one of the host's
/// own.
std::optional<Method> answer(const HostCall& call);

}  // namespace HostMethods

#endif
