// Both documents are made from the table of methods, so they describe exactly the messages that the
// host accepts. Failures and refusals by access rules have the form of answers too, and are listed
// next to each result.

#include "wire/MethodContract.h"

#include <limits>
#include <nlohmann/json.hpp>

#include "wire/Methods.h"

namespace {

using Json = nlohmann::ordered_json;
using Methods::Row;
using Methods::Value;

Json typeOf(Parameter::Type type) {
    switch (type) {
        case Parameter::Type::Int:
            return {{"type", "integer"},
                    {"minimum", std::numeric_limits<int>::min()},
                    {"maximum", std::numeric_limits<int>::max()}};
        case Parameter::Type::Bool:
            return {{"type", "boolean"}};
        default:
            return {{"type", "string"}};
    }
}

const char* elementOf(Parameter::Type type) {
    switch (type) {
        case Parameter::Type::Int:
            return "Int";
        case Parameter::Type::Bool:
            return "Bool";
        case Parameter::Type::Xml:
            return "Xml";
        default:
            return "String";
    }
}

Json objectOf(const Json& properties, const Json& required) {
    Json object = {{"type", "object"}, {"properties", properties}};
    if (!required.empty()) {
        object["required"] = required;
    }
    object["additionalProperties"] = false;
    return object;
}

Json describedTypeOf(const Value& value) {
    Json type = typeOf(value.type);
    type["description"] = value.text;
    return type;
}

/// An object with @p values.
Json objectOf(const std::vector<Value>& values) {
    Json properties = Json::object();
    Json required = Json::array();
    for (const Value& value : values) {
        properties[value.name] = describedTypeOf(value);
        if (value.isAlways) {
            required.push_back(value.name);
        }
    }
    return objectOf(properties, required);
}

/// Whether access rules may refuse the method with an answer other than that of a request.
bool isAcknowledgedAsRefused(const Row& method) {
    const Methods::Access& access = method.access;
    return method.kind != Methods::Kind::OneWay && access.place != Methods::Place::Request &&
           (access.everywhere | access.ofSchema) != Methods::None;
}

/// The two protocols differ only for the methods on files: in XML the call has one string, and the
/// acknowledgement is a word.
Json xmlFormOf(const Row& method) {
    Json in = Json::object();
    Json out = Json::object();
    if (method.xmlParameter != nullptr) {
        in[method.xmlParameter] = elementOf(Parameter::Type::Xml);
    }
    for (const Value& each : method.values) {
        const bool isIn = each.direction == Parameter::in;
        const bool isWord = method.xmlParameter != nullptr && each.type == Parameter::Type::Bool;
        if (!isIn) {
            out[each.name] = elementOf(isWord ? Parameter::Type::String : each.type);
        } else if (method.xmlParameter == nullptr) {
            in[each.name] = elementOf(each.type);
        }
    }
    if (isAcknowledgedAsRefused(method) && !out.contains("Acknowledge")) {
        out["Acknowledge"] = elementOf(Parameter::Type::Bool);
    }
    return {{"in", in}, {"out", out}};
}

/// A call as OpenRPC describes it, without its result.
Json describedCallOf(const char* name, const char* text, const std::vector<Value>& values) {
    Json params = Json::array();
    for (const Value& value : values) {
        params.push_back({{"name", value.name},
                          {"description", value.text},
                          {"required", value.isAlways},
                          {"schema", typeOf(value.type)}});
    }
    return {{"name", name}, {"summary", text}, {"paramStructure", "by-name"}, {"params", params}};
}

Json callOf(const Row& method) {
    const Json params = objectOf(method.of(Parameter::in));
    const Json properties = {{"jsonrpc", {{"const", "2.0"}}},
                             {"id", Json::object()},
                             {"method", {{"const", method.name}}},
                             {"params", params}};
    Json required = {"jsonrpc", "method"};
    if (params.contains("required")) {
        required.push_back("params");
    }
    Json call = objectOf(properties, required);
    call["description"] = method.text;
    return call;
}

Json resultOf(const Row& method) {
    const Json failed = objectOf({{"Response", {{"const", "failure"}}}}, Json::array({"Response"}));
    Json any = Json::array({objectOf(method.of(Parameter::out)), failed});
    if (isAcknowledgedAsRefused(method)) {
        any.push_back(
            objectOf({{"Acknowledge", {{"const", false}}}}, Json::array({"Acknowledge"})));
    }
    return {{"anyOf", any}};
}

/// A whole answer. It does not name its method, so it may belong to any.
Json answerOf(const std::string& method) {
    return objectOf({{"jsonrpc", {{"const", "2.0"}}},
                     {"id", Json::object()},
                     {"result", {{"$ref", "#/$defs/results/" + method}}}},
                    {"jsonrpc", "id", "result"});
}

Json eventOf(const Methods::Event& event) {
    Json properties = {{"jsonrpc", {{"const", "2.0"}}}, {"method", {{"const", event.name}}}};
    if (!event.values.empty()) {
        properties["params"] = objectOf(event.values);
    }
    Json whole = objectOf(properties, {"jsonrpc", "method"});
    whole["description"] = event.text;
    return whole;
}

Json events() {
    Json all = Json::object();
    for (const Methods::Event& event : Methods::events()) {
        all[event.name] = eventOf(event);
    }
    return all;
}

/// The answer to a text that is not a call; it has no id of a call.
Json errorOf(int code, const char* text) {
    const Json error = objectOf({{"code", {{"const", code}}}, {"message", {{"const", text}}}},
                                {"code", "message"});
    return objectOf(
        {{"jsonrpc", {{"const", "2.0"}}}, {"id", {{"const", nullptr}}}, {"error", error}},
        {"jsonrpc", "id", "error"});
}

/// The two answers to a text that is not a call, by name.
const struct {
    const char* name;
    int code;
    const char* text;
} Errors[] = {{"ParseError", -32700, "Parse error"}, {"InvalidRequest", -32600, "Invalid Request"}};

/// Adds references to all members of @p group; a message must match one of them.
void addReferences(Json& references, const std::string& group, const Json& members) {
    for (const auto& member : members.items()) {
        references.push_back({{"$ref", "#/$defs/" + group + "/" + member.key()}});
    }
}

}  // namespace

std::string MethodContract::json() {
    Json calls = Json::object();
    Json results = Json::object();
    Json answers = Json::object();
    Json xml = Json::object();
    for (const Row& method : Methods::all()) {
        calls[method.name] = callOf(method);
        xml[method.name] = xmlFormOf(method);
        if (method.kind != Methods::Kind::OneWay) {
            results[method.name] = resultOf(method);
            answers[method.name] = answerOf(method.name);
        }
    }
    Json errors = Json::object();
    for (const auto& error : Errors) {
        errors[error.name] = errorOf(error.code, error.text);
    }
    Json references = Json::array();
    addReferences(references, "calls", calls);
    addReferences(references, "answers", answers);
    addReferences(references, "events", events());
    addReferences(references, "errors", errors);
    const Json all = {{"$schema", "https://json-schema.org/draft/2020-12/schema"},
                      {"title", "Remote methods of the data access service"},
                      {"anyOf", references},
                      {"$defs",
                       {{"calls", calls},
                        {"results", results},
                        {"answers", answers},
                        {"events", events()},
                        {"errors", errors},
                        {"xml", xml}}}};
    return all.dump(2) + "\n";
}

std::string MethodContract::openRpc() {
    Json methods = Json::array();
    for (const Row& method : Methods::all()) {
        methods.push_back(describedCallOf(method.name, method.text, method.of(Parameter::in)));
        if (method.kind != Methods::Kind::OneWay) {
            methods.back()["result"] = {{"name", "result"}, {"schema", resultOf(method)}};
        }
    }
    Json heard = Json::array();
    for (const Methods::Event& event : Methods::events()) {
        heard.push_back(describedCallOf(event.name, event.text, event.values));
    }
    Json errors = Json::object();
    for (const auto& error : Errors) {
        errors[error.name] = {{"code", error.code}, {"message", error.text}};
    }
    const Json all = {{"openrpc", "1.3.2"},
                      {"info",
                       {{"title", "Remote methods of the data access service"},
                        {"description",
                         "Each message is one line. A method without a result is never answered, "
                         "and neither is one "
                         "that is not known. x-notifications are what a listener hears."},
                        {"version", DAS_VERSION}}},
                      {"methods", methods},
                      {"components", {{"errors", errors}}},
                      {"x-notifications", heard}};
    return all.dump(2) + "\n";
}
