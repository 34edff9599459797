// The file is small and only few commands use it, so it stays in memory as JSON.

#include "schemas/Sentences.h"

#include <map>
#include <nlohmann/json.hpp>

/// Made at build time.
extern const char* const SentencesAsJson;

namespace {

using nlohmann::json;

const json& all() {
    static const json sentences = json::parse(SentencesAsJson);
    return sentences;
}

std::string textAt(const json& group, const std::string& name) {
    const auto found = group.find(name);
    return found != group.end() ? found->get<std::string>() : std::string();
}

using Settings = std::map<std::string, std::vector<Sentences::Setting>>;

Settings readSettings() {
    Settings settings;
    for (const auto& schema : all().at("settings").items()) {
        for (const auto& setting : schema.value().items()) {
            settings[schema.key()].push_back({setting.key(), setting.value()});
        }
    }
    return settings;
}

}  // namespace

std::string Sentences::ofSchema(const std::string& name) {
    return textAt(all().at("schemas"), name);
}

std::string Sentences::ofElement(const std::string& name) {
    return textAt(all().at("elements"), name);
}

std::string Sentences::ofColumn(const KnownSchemas::Entry& schema, const std::string& column) {
    const json& overridden = all().at("columnsOf");
    for (const std::string& owner : {schema.name, schema.table}) {
        const auto found = overridden.find(owner);
        if (found != overridden.end() && found->contains(column)) {
            return textAt(*found, column);
        }
    }
    const json& columns = all().at("columns");
    const std::string stem = column.substr(0, column.find_last_not_of("0123456789") + 1);
    return textAt(columns, columns.contains(column) ? column : stem);
}

const std::vector<Sentences::Setting>& Sentences::settingsOf(const std::string& name) {
    static const Settings settings = readSettings();
    static const std::vector<Setting> none;
    const auto found = settings.find(name);
    return found != settings.end() ? found->second : none;
}
