#include "client/Connection.h"

#include <utility>

#include "Method.h"
#include "wire/JsonRpc.h"

namespace {

const char* const CallId = "1";

}  // namespace

Method Connection::requestOf(const std::string& message) {
    Method method("processRequest");
    method.addStringParameter("Request", message, Parameter::in);
    method.addIntParameter("RequestLength", static_cast<int>(message.size()), Parameter::in);
    return method;
}

std::string Connection::toCall(const Method& request) {
    return JsonRpc::toCall(JsonRpc::notification(request), CallId);
}

bool Connection::call(const Method& request, Method& answer) {
    return call(toCall(request), answer);
}

bool Connection::call(const std::string& line, Method& answer) {
    if (!sendLine(line)) {
        return false;
    }
    std::string received;
    while (readLine(received)) {
        JsonRpc::Message message = JsonRpc::read(received);
        if (message.hasError || !message.isJson) {
            return false;
        }
        if (message.id == CallId) {
            answer = std::move(message.method);
            return true;
        }
    }
    return false;
}

bool Connection::callOneWay(const Method& request) {
    // Messages are handled in order: by the answer to the second one the first is done.
    Method ignored;
    return sendLine(JsonRpc::notification(request)) && call(requestOf("getCurrentUser"), ignored);
}
