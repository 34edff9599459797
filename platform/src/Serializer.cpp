#include "Serializer.h"

#include <algorithm>
#include <nlohmann/json.hpp>

using nlohmann::json;

std::string Serializer::serialize(const std::map<std::string, std::string>& values) {
    return json(values).dump(-1, ' ', false, json::error_handler_t::replace);
}

bool Serializer::deserialize(const std::string& text, std::map<std::string, std::string>& values) {
    values.clear();
    const json object = json::parse(text, nullptr, false);
    if (!object.is_object() || !std::all_of(object.begin(), object.end(),
                                            [](const json& value) { return value.is_string(); })) {
        return false;
    }
    object.get_to(values);
    return true;
}
