// The page about tables is made from the same facts as the schemas of das. So a column that is
// added to a table also appears in the documentation, with its type, defaults and meaning.

#include "TablesPage.h"

#include <cctype>
#include <set>
#include <sstream>
#include <vector>

#include "schemas/KnownSchemas.h"
#include "schemas/Sentences.h"

namespace {

using KnownSchemas::Entry;
using Schemas = std::vector<const Entry*>;

std::string code(const std::string& text) {
    return text.empty() ? "" : "`" + text + "`";
}

std::string plain(const std::string& text) {
    return text;
}

std::string joined(const std::vector<std::string>& texts, std::string (*form)(const std::string&)) {
    std::string text;
    for (const std::string& each : texts) {
        text += (text.empty() ? "" : ", ") + form(each);
    }
    return text.empty() ? "none" : text;
}

/// The columns of the ten calls of a row have the same meaning, so only the first one has a text.
std::string meaningOf(const Entry& schema, const std::string& column) {
    const std::string stem = column.substr(0, column.size() - 1);
    const bool isOfCall = !schema.itemElements.empty() &&
                          std::isdigit(static_cast<unsigned char>(column.back())) != 0;
    if (!isOfCall) {
        return Sentences::ofColumn(schema, column);
    }
    return column.back() == '0' ? "Of the row's first call: " + Sentences::ofColumn(schema, column)
                                : "as " + code(stem + "0");
}

/// The introduction of a table that has only one schema. Schemas that share a table are listed
/// after its columns.
std::string introductionOf(const Schemas& schemas) {
    return schemas.size() == 1 ? "\n" + Sentences::ofSchema(schemas.front()->name) + "\n" : "";
}

std::string schemasOf(const Schemas& schemas) {
    std::string text = schemas.size() > 1 ? "\nWhat the schemas hold:\n\n" : "";
    for (const Entry* each : schemas) {
        text += schemas.size() > 1
                    ? "- " + code(each->name) + ": " + Sentences::ofSchema(each->name) + "\n"
                    : "";
    }
    return text;
}

std::string settingsOf(const Schemas& schemas) {
    std::string text;
    for (const Entry* schema : schemas) {
        for (const Sentences::Setting& each : Sentences::settingsOf(schema->name)) {
            text += "- " + code(each.name) + " of " + code(schema->name) + ": " + each.text + "\n";
        }
    }
    return text.empty()
               ? text
               : "\nSettings that the service or its files know; clients may store others:\n\n" +
                     text;
}

/// The section of the table that serves @p schemas, which all have the same reasons.
std::string sectionOf(const Schemas& schemas) {
    const Entry& first = *schemas.front();
    std::vector<std::string> names;
    for (const Entry* each : schemas) {
        names.push_back(each->name);
    }
    std::ostringstream text;
    text << "\n## " << first.table << "\n"
         << introductionOf(schemas) << "\n- Schemas: " << joined(names, code)
         << "\n- Reasons: " << joined(first.reasons, code) << "\n- Rows of: " << first.users
         << "\n- Key: " << joined(first.key, code)
         << "\n- Default rows: " << joined(first.defaultRows, plain)
         << "\n- Data file: " << (first.hasDataFile ? "yes" : "no")
         << "\n\n| Column | Type | Default | Meaning |\n|---|---|---|---|\n";
    for (const KnownSchemas::Column& column : first.columns) {
        const bool hasDefault = column.defaults.size() > 1 ||
                                (column.defaults.size() == 1 && !column.defaults.front().empty());
        text << "| " << column.name << " | " << column.type << " | "
             << (hasDefault ? joined(column.defaults, code) : "") << " | "
             << meaningOf(first, column.name) << " |\n";
    }
    text << schemasOf(schemas) << settingsOf(schemas);
    return text.str();
}

}  // namespace

std::string TablesPage::of(const std::string& page) {
    std::string text = page.substr(0, page.find("\n## "));
    std::set<std::string> tables;
    for (const Entry& entry : KnownSchemas::all()) {
        if (!tables.insert(entry.table).second) {
            continue;
        }
        Schemas schemas;
        for (const Entry& each : KnownSchemas::all()) {
            if (each.table == entry.table) {
                schemas.push_back(&each);
            }
        }
        text += sectionOf(schemas);
    }
    return text;
}
