#include "Bench.h"

namespace Bench {

namespace {

std::vector<Operation>& registered() {
    static std::vector<Operation> all;
    return all;
}

}  // namespace

Registration::Registration(const std::vector<Operation>& operations) {
    registered().insert(registered().end(), operations.begin(), operations.end());
}

const std::vector<Operation>& operations() {
    return registered();
}

std::string message(const std::string& schema, const std::string& reason, const std::string& body) {
    std::string text = "<?xml version=\"1.0\" encoding=\"utf-8\"?><Schema name=\"";
    text.append(schema).append("\"><ReasonForMessage>").append(reason);
    return text.append("</ReasonForMessage>").append(body).append("</Schema>");
}

}  // namespace Bench
