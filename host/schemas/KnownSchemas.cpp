#include "schemas/KnownSchemas.h"

#include <algorithm>

#include "schemas/SchemaJson.h"

/// Made at build time.
extern const char* const SchemasAsJson;
extern const char* const SchemaNames[];  ///< the last one is null

const std::vector<KnownSchemas::Entry>& KnownSchemas::all() {
    static const auto entries = nlohmann::json::parse(SchemasAsJson).get<std::vector<Entry>>();
    return entries;
}

bool KnownSchemas::Entry::has(const std::string& reason) const {
    return std::find(reasons.begin(), reasons.end(), reason) != reasons.end();
}

const KnownSchemas::Entry* KnownSchemas::find(const std::string& name) {
    const auto found = std::find_if(all().begin(), all().end(),
                                    [&](const Entry& each) { return each.name == name; });
    return found != all().end() ? &*found : nullptr;
}

std::vector<std::string> KnownSchemas::names() {
    std::vector<std::string> all;
    for (const char* const* name = SchemaNames; *name != nullptr; ++name) {
        all.emplace_back(*name);
    }
    return all;
}
