#include "Serializer.h"

#include <algorithm>
#include <nlohmann/json.hpp>

using nlohmann::json;

std::string Serializer::serialize(const std::map<std::string, std::string>& values) {
    return json(values).dump(-1, ' ', false, json::error_handler_t::replace);
}

bool Serializer::deserialize(const std::string& text, std::map<std::string, std::string>& values) {
    values.clear();
    // What stands in another value is not kept: it could take a hundred times the text's memory.
    bool isFlat = true;
    const auto keep = [&isFlat](int depth, json::parse_event_t event, json& /*value*/) {
        const bool isInner = depth > 0 && (event == json::parse_event_t::object_start ||
                                           event == json::parse_event_t::array_start);
        isFlat = isFlat && !isInner;
        return !isInner;
    };
    const json object = json::parse(text, keep, false);
    if (!isFlat || !object.is_object() ||
        !std::all_of(object.begin(), object.end(),
                     [](const json& value) { return value.is_string(); })) {
        return false;
    }
    object.get_to(values);
    return true;
}
