// What all connections share, whether the service is in this process or at a socket.

#include "client/Connection.h"

#include <utility>

bool Connection::call(Method request, Method& answer) {
    return exchange(std::move(request), answer) == Result::Answered;
}

Method Connection::requestOf(std::string message) {
    const int length = static_cast<int>(message.size());
    Method method("processRequest");
    method.addStringParameter("Request", std::move(message), Parameter::in);
    method.addIntParameter("RequestLength", length, Parameter::in);
    return method;
}
