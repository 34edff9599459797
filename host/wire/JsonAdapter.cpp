// The service's invoker uses adapters through streams. The host itself parses and writes lines by
// JsonRpc, without this copy.

#include "wire/JsonAdapter.h"

#include <sstream>

#include "wire/JsonRpc.h"

bool JsonAdapter::decode(std::istream& stream, Method& method) {
    std::ostringstream copy;
    copy << stream.rdbuf();
    JsonRpc::Message message = JsonRpc::read(copy.str());
    if (!message.isRequest()) {
        return false;
    }
    method = std::move(message.method);
    return true;
}

void JsonAdapter::encode(const Method& method, std::ostream& stream) {
    stream << JsonRpc::notification(method);
}
