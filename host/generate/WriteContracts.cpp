// Writes what other programs may know of schemas and methods: XML and JSON schemas, an OpenRPC
// document, and the tables of docs/tables.md. If a sentence is missing, or is about something that
// does not exist, it fails, and so does the build. Usage: das_write_contracts FOLDER TABLES.md

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <iterator>
#include <map>
#include <nlohmann/json.hpp>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "ClientUtils.h"
#include "TablesPage.h"
#include "commands/DemoTelephone.h"
#include "schemas/KnownSchemas.h"
#include "schemas/SchemaContract.h"
#include "schemas/Sentences.h"
#include "wire/MethodContract.h"
#include "wire/Methods.h"

extern const char* const SentencesAsJson;

namespace {

using nlohmann::json;
using Names = std::set<std::string>;
using Texts = std::vector<std::string>;
using SchemaContract::Side;

/// The names that may have a sentence, from the tables of the code.
struct Known {
    Names schemas;
    Names settingSchemas;
    std::map<std::string, Names> columns;  ///< by schema and by table
    Names all;  ///< all columns; those of a row's calls also without their digit
};

Known known() {
    Known known;
    for (const KnownSchemas::Entry& schema : KnownSchemas::all()) {
        known.schemas.insert(schema.name);
        if (schema.elements.empty()) {
            known.settingSchemas.insert(schema.name);
        }
        for (const std::string& name : SchemaContract::namesOf(schema)) {
            known.columns[schema.name].insert(name);
            known.columns[schema.table].insert(name);
            known.all.insert({name, name.substr(0, name.find_last_not_of("0123456789") + 1)});
        }
    }
    return known;
}

/// The sentences in @p group whose name is not known, a line each.
std::string strangers(const json& group, const Names& names, const std::string& where) {
    std::string text;
    for (const auto& sentence : group.items()) {
        if (names.count(sentence.key()) == 0) {
            text += where + ": nothing is called " + sentence.key() + "\n";
        }
    }
    return text;
}

std::string strangers() {
    const Known names = known();
    const json sentences = json::parse(SentencesAsJson);
    std::string text = strangers(sentences["schemas"], names.schemas, "schemas") +
                       strangers(sentences["settings"], names.settingSchemas, "settings") +
                       strangers(sentences["columns"], names.all, "columns");
    for (const auto& owner : sentences["columnsOf"].items()) {
        const auto found = names.columns.find(owner.key());
        text += strangers(owner.value(), found != names.columns.end() ? found->second : Names(),
                          "columnsOf " + owner.key());
    }
    return text;
}

/// Settings in the files of the telephone's image that have no sentence. A line for a setting ends
/// with the schema and the setting, or has a third field after them.
std::string missingSettings() {
    std::string text;
    for (const DemoTelephone::File& file : DemoTelephone::Files) {
        std::istringstream lines(file.text);
        for (std::string line; std::getline(lines, line);) {
            const Texts fields = ClientUtils::tokenizeString(line, ",", true, false);
            for (std::size_t i = 0; line[0] != '#' && i + 1 < fields.size(); ++i) {
                const KnownSchemas::Entry* const schema = KnownSchemas::find(fields[i]);
                const auto& known = Sentences::settingsOf(fields[i]);
                if (schema != nullptr && schema->elements.empty() &&
                    std::none_of(known.begin(), known.end(), [&](const Sentences::Setting& each) {
                        return each.name == fields[i + 1];
                    })) {
                    text +=
                        "no sentence for the setting " + fields[i + 1] + " of " + fields[i] + "\n";
                }
            }
        }
    }
    return text;
}

std::string missing() {
    std::string text = missingSettings();
    for (const KnownSchemas::Entry& schema : KnownSchemas::all()) {
        if (Sentences::ofSchema(schema.name).empty()) {
            text += "no sentence for the schema " + schema.name + "\n";
        }
        for (const std::string& name : SchemaContract::namesOf(schema)) {
            if (Sentences::ofColumn(schema, name).empty()) {
                text += "no sentence for " + name + " of " + schema.name + "\n";
            }
        }
    }
    for (const Methods::Row& method : Methods::all()) {
        text += *method.text != 0 ? "" : std::string("no sentence for ") + method.name + "\n";
        for (const Methods::Value& value : method.values) {
            text += *value.text != 0 ? ""
                                     : std::string("no sentence for ") + value.name + " of " +
                                           method.name + "\n";
        }
    }
    return text;
}

std::string readFile(const std::filesystem::path& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

bool writeFile(const std::filesystem::path& path, const std::string& text) {
    std::ofstream file(path, std::ios::binary);
    file << text;
    file.close();
    if (!file.good()) {
        std::cerr << "das_write_contracts: " << path << " can't be written\n";
    }
    return file.good();
}

/// Writes the three documents of a schema: XML schemas of its requests and of its answers, and a
/// JSON schema of the rows that das read prints.
bool writeSchema(const std::filesystem::path& folder, const KnownSchemas::Entry& schema) {
    const std::string name = (folder / "xsd" / schema.name).string();
    return writeFile(name + ".request.xsd", SchemaContract::xsd(schema, Side::Request)) &&
           writeFile(name + ".answer.xsd", SchemaContract::xsd(schema, Side::Answer)) &&
           writeFile(folder / "rows" / (schema.name + ".schema.json"),
                     SchemaContract::rowsJson(schema));
}

bool writeAll(const std::filesystem::path& folder, const std::string& page) {
    std::error_code error;
    for (const char* name : {"xsd", "rows"}) {
        // Files of removed schemas must not stay.
        std::filesystem::remove_all(folder / name, error);
        std::filesystem::create_directories(folder / name, error);
    }
    const auto& schemas = KnownSchemas::all();
    return std::all_of(schemas.begin(), schemas.end(),
                       [&](const auto& schema) { return writeSchema(folder, schema); }) &&
           writeFile(folder / "tables.md", TablesPage::of(readFile(page))) &&
           writeFile(folder / "answers.json", SchemaContract::answersJson()) &&
           writeFile(folder / "methods.schema.json", MethodContract::json()) &&
           writeFile(folder / "openrpc.json", MethodContract::openRpc());
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 3) {
        std::cerr << "das_write_contracts: needs a folder to write and the page of the tables\n";
        return 2;
    }
    const std::string faults = missing() + strangers();
    if (!faults.empty()) {
        std::cerr << "sentences.json and the tables of the code do not fit:\n" << faults;
        return 1;
    }
    return writeAll(argv[1], argv[2]) ? 0 : 1;
}
