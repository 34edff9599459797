// A map of texts as a JSON object. It is read by events: a text that is deep or large makes no tree
// in memory.

#include "Serializer.h"

#include <nlohmann/json.hpp>

using nlohmann::json;

namespace {

/// Collects an object of strings while the text is parsed, and refuses anything else. To destroy a
/// deep tree of values would need memory, and without memory end the process.
class MapReader : public json::json_sax_t {
public:
    explicit MapReader(std::map<std::string, std::string>& values) : m_values(values) {}

    bool start_object(std::size_t) override {
        const bool isFirst = !m_isInObject;
        m_isInObject = true;
        return isFirst;
    }
    bool end_object() override { return true; }
    bool key(string_t& name) override {
        m_key = name;
        return true;
    }
    bool string(string_t& text) override {
        if (m_isInObject) {
            m_values[m_key] = text;
        }
        return m_isInObject;
    }

    bool null() override { return false; }
    bool boolean(bool) override { return false; }
    bool number_integer(number_integer_t) override { return false; }
    bool number_unsigned(number_unsigned_t) override { return false; }
    bool number_float(number_float_t, const string_t&) override { return false; }
    bool binary(binary_t&) override { return false; }
    bool start_array(std::size_t) override { return false; }
    bool end_array() override { return false; }
    bool parse_error(std::size_t, const std::string&, const json::exception&) override {
        return false;
    }

private:
    std::map<std::string, std::string>& m_values;
    std::string m_key;
    bool m_isInObject = false;
};

std::string quoted(const std::string& text) {
    return json(text).dump(-1, ' ', false, json::error_handler_t::replace);
}

}  // namespace

std::string Serializer::serialize(const std::map<std::string, std::string>& values) {
    std::string text = "{";
    for (const auto& [name, value] : values) {
        text += (text.size() > 1 ? "," : "") + quoted(name) + ":" + quoted(value);
    }
    return text + "}";
}

bool Serializer::deserialize(const std::string& text, std::map<std::string, std::string>& values) {
    values.clear();
    MapReader reader(values);
    if (!json::sax_parse(text, &reader)) {
        values.clear();
        return false;
    }
    return true;
}
