// A message is parsed by events and never becomes a JSON tree: a tree takes many times the memory
// of its text, and clients decide how long a text is. For the same reason answers are written
// directly, into a string with the final size.

#include "wire/JsonRpc.h"

#include <algorithm>
#include <climits>
#include <nlohmann/json.hpp>
#include <utility>

#include "wire/JsonText.h"
#include "wire/ParameterText.h"

using nlohmann::json;

namespace {

const std::string Start = R"({"jsonrpc":"2.0",)";
const std::string MethodMember = R"("method":)";
const std::string ParametersMember = R"(,"params":)";
/// For an answer or a parameter: at least the size of the text around the strings.
constexpr std::size_t SizeOfFrame = 32;

std::string errorAnswer(int code, const std::string& words) {
    return Start + R"("id":null,"error":{"code":)" + std::to_string(code) + R"(,"message":")" +
           words + R"("}})";
}

bool appendParameters(std::string& out, const Method& method, std::size_t limit) {
    const char* separator = "{";
    for (const Parameter& parameter : method.parameters()) {
        out.append(separator).append(JsonText::quoted(parameter.name)).append(":");
        const bool isText =
            parameter.type == Parameter::Type::String || parameter.type == Parameter::Type::Xml;
        if (isText && !JsonText::append(out, parameter.text, limit)) {
            return false;
        }
        out += isText ? std::string() : textOf(parameter, JsonText::quoted);
        separator = ",";
    }
    out += method.parameters().empty() ? "{}" : "}";
    return out.size() <= limit;
}

/// Parses a message by events, so that its size and depth cost no extra memory. If two members have
/// the same name, the last one counts; two parameters of the same name are both kept.
class Reader : public nlohmann::json_sax<json> {
public:
    explicit Reader(JsonRpc::Message& message) : m_message(message) {}

    bool null() override {
        if (isMember("id")) {
            setId("null");
        } else {
            onOther();
        }
        return true;
    }

    bool boolean(bool value) override {
        if (m_inParameters && m_depth == 2) {
            m_message.method.addBoolParameter(m_name, value, m_direction);
        } else {
            onOther();
        }
        return true;
    }

    bool number_integer(number_integer_t value) override {
        if (value >= INT_MIN && value <= INT_MAX) {
            return onInt(static_cast<int>(value));
        }
        return onNumber(std::to_string(value));
    }

    bool number_unsigned(number_unsigned_t value) override {
        if (value <= INT_MAX) {
            return onInt(static_cast<int>(value));
        }
        return onNumber(std::to_string(value));
    }

    bool number_float(number_float_t /*value*/, const string_t& text) override {
        return onNumber(text);
    }

    bool string(string_t& text) override {
        if (m_inParameters && m_depth == 2) {
            m_message.method.addStringParameter(m_name, std::move(text), m_direction);
        } else if (isMember("id")) {
            setId(JsonText::quoted(text));
        } else if (isMember("method")) {
            m_message.hasMethod = true;
            m_message.method.setName(text);
        } else if (isMember("jsonrpc")) {
            m_message.hasVersion = text == "2.0";
        } else {
            onOther();
        }
        return true;
    }

    bool binary(binary_t& /*value*/) override { return true; }

    bool start_object(std::size_t /*elements*/) override {
        onOther();
        if (m_depth == 1 && (m_member == "params" || m_member == "result")) {
            m_inParameters = true;
            m_direction = m_member == "params" ? Parameter::in : Parameter::out;
        }
        return enter();
    }

    bool key(string_t& name) override {
        if (m_depth == 1) {
            m_member = name;
            m_message.hasError = m_message.hasError || name == "error";
        } else if (m_depth == 2) {
            m_name = name;
            return !m_inParameters || ++m_parameters <= JsonRpc::ParameterLimit;
        }
        return true;
    }

    bool end_object() override { return leave(); }

    bool start_array(std::size_t /*elements*/) override {
        onOther();
        return enter();
    }

    bool end_array() override { return leave(); }

    bool parse_error(std::size_t /*position*/, const std::string& /*token*/,
                     const json::exception& /*error*/) override {
        return false;
    }

private:
    bool isMember(const char* name) const { return m_depth == 1 && m_member == name; }

    void setId(std::string id) {
        m_message.id = std::move(id);
        m_message.hasBadId = false;
    }

    bool onInt(int value) {
        if (m_inParameters && m_depth == 2) {
            m_message.method.addIntParameter(m_name, value, m_direction);
            return true;
        }
        return onNumber(std::to_string(value));
    }

    bool onNumber(const std::string& text) {
        if (isMember("id")) {
            setId(text);
        } else {
            onOther();
        }
        return true;
    }

    /// A value of a type that is not allowed here.
    void onOther() {
        m_message.hasMethod = m_message.hasMethod && !isMember("method");
        m_message.hasVersion = m_message.hasVersion && !isMember("jsonrpc");
        m_message.hasBadId = m_message.hasBadId || isMember("id");
    }

    /// False ends the parse.
    bool enter() { return ++m_depth <= JsonRpc::DepthLimit; }

    bool leave() {
        m_inParameters = --m_depth > 1 && m_inParameters;
        return true;
    }

    JsonRpc::Message& m_message;
    std::size_t m_depth = 0;
    bool m_inParameters = false;
    std::size_t m_parameters = 0;
    Parameter::directions m_direction = Parameter::in;
    std::string m_member;  ///< of the message itself
    std::string m_name;    ///< of a parameter
};

}  // namespace

const std::string JsonRpc::ParseError = errorAnswer(-32700, "Parse error");
const std::string JsonRpc::InvalidRequest = errorAnswer(-32600, "Invalid Request");

JsonRpc::Message JsonRpc::read(std::string_view line) {
    Message message;
    Reader reader(message);
    // The parser would treat a zero byte as the end.
    message.isJson = line.find('\0') == std::string_view::npos && json::sax_parse(line, &reader);
    return message;
}

std::string JsonRpc::notification(const Method& method) {
    std::string text = Start + MethodMember + JsonText::quoted(method.getName());
    if (!method.parameters().empty()) {
        text += ParametersMember;
        (void)appendParameters(text, method, std::string::npos);
    }
    return text += "}";
}

std::string JsonRpc::toCall(const std::string& notification, const std::string& id) {
    return Start + "\"id\":" + id + "," + notification.substr(Start.size());
}

std::optional<std::string> JsonRpc::answer(const Method& reply, const std::string& id,
                                           std::size_t limit) {
    std::string text;
    // Includes space for the line feed that is added to the answer, so that a long answer is not
    // reallocated.
    std::size_t size = Start.size() + id.size() + SizeOfFrame;
    for (const Parameter& parameter : reply.parameters()) {
        size += SizeOfFrame + parameter.name.size() + parameter.text.size() +
                parameter.text.size() / 16;
    }
    text.reserve(std::min(size, limit));
    text.append(Start).append("\"id\":").append(id).append(",\"result\":");
    if (!appendParameters(text, reply, limit - std::min(limit, std::size_t{1}))) {
        return std::nullopt;
    }
    text += "}";
    return text;
}
