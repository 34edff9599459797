#ifndef HOSTMETHODS_H
#define HOSTMETHODS_H

#include <memory>
#include <optional>
#include <string>

#include "Method.h"

class Client;
class Executable;
class HostFramework;

/// A call of one of the host's own methods, with what such a method may need.
struct HostCall {
    const Method& request;
    const std::string& protocol;  ///< of the message
    const std::shared_ptr<Client>& client;
    HostFramework& framework;
    Executable& service;
};

/// The host's own methods: a function for each row of that kind in the table Methods.
namespace HostMethods {

/// The answer to @p call; none if the method is not one of the host's own.
std::optional<Method> answer(const HostCall& call);

}  // namespace HostMethods

#endif
