// "das schemas": the service's tables, for people and, as contracts, for programs. By default it
// does not start a service.

#include "ClientUtils.h"
#include "cli/Command.h"
#include "cli/RowArguments.h"
#include "cli/SheetPrinter.h"
#include "schemas/SchemaContract.h"
#include "schemas/Sentences.h"
#include "wire/MethodContract.h"

namespace {

using SchemaContract::Side;

std::string joined(const std::vector<std::string>& names) {
    return ClientUtils::join(names, ", ");
}

/// A line for each schema. On a terminal the lists of names are left out, since they would fill it.
Sheet listing(bool isShort) {
    Sheet sheet{{"Schema", "Table", "Users", "Reasons", "Columns", "Default rows", "Meaning"}, {}};
    if (isShort) {
        sheet = {{"Schema", "Meaning"}, {}, true};
    }
    for (const KnownSchemas::Entry& each : KnownSchemas::all()) {
        const std::string meaning = Sentences::ofSchema(each.name);
        if (isShort) {
            sheet.rows.push_back({each.name, meaning});
            continue;
        }
        std::vector<std::string> columns;
        for (const KnownSchemas::Column& column : each.columns) {
            columns.push_back(column.name);
        }
        sheet.rows.push_back({each.name, each.table, each.users, joined(each.reasons),
                              joined(columns), joined(each.defaultRows), meaning});
    }
    return sheet;
}

std::string textOf(const KnownSchemas::Column& column) {
    const std::string defaults = joined(column.defaults);
    return defaults.empty() ? column.type : column.type + ", default " + defaults;
}

Sheet detailsOf(const KnownSchemas::Entry& schema) {
    Sheet sheet{{"What", "Value", "Meaning"},
                {{"Schema", schema.name, Sentences::ofSchema(schema.name)},
                 {"Table", schema.table, ""},
                 {"Reasons", joined(schema.reasons), ""},
                 {"Rows of", schema.users, ""},
                 {"Key", joined(schema.key), ""},
                 {"Default rows", joined(schema.defaultRows), ""},
                 {"Data file", schema.hasDataFile ? "yes" : "no", ""}},
                true};
    for (const KnownSchemas::Column& column : schema.columns) {
        sheet.rows.push_back(
            {"Column " + column.name, textOf(column), Sentences::ofColumn(schema, column.name)});
    }
    for (const std::string& element : schema.itemElements) {
        sheet.rows.push_back({"Of each call", element, Sentences::ofColumn(schema, element)});
    }
    for (const Sentences::Setting& setting : Sentences::settingsOf(schema.name)) {
        sheet.rows.push_back({"Setting " + setting.name, "", setting.text});
    }
    return sheet;
}

class SchemasCommand : public SessionCommand {
public:
    int run(const HostOptions& /*options*/, const Arguments& arguments) override {
        if (!check(arguments)) {
            return ExitUsage;
        }
        Output output;
        return print(arguments, output);
    }

    bool check(const Arguments& arguments) override {
        const auto name = arguments.value("SCHEMA");
        m_schema = name ? RowArguments::findSchema(*name) : nullptr;
        if (!name && (arguments.has("--xsd") || arguments.has("--answers"))) {
            Complaint::report(
                "schemas: SCHEMA is missing",
                "das schemas lists them; --json-schema alone prints the remote methods");
            return false;
        }
        return (!name || m_schema != nullptr) && SheetPrinter::check(arguments) &&
               RowArguments::checkApart("schemas", arguments,
                                        {{"SCHEMA", "--openrpc"},
                                         {"--xsd", "--json-schema"},
                                         {"--answers", "--json-schema"},
                                         {"--openrpc", "--json-schema"},
                                         {"--xsd", "--output"},
                                         {"--answers", "--output"},
                                         {"--openrpc", "--output"},
                                         {"--json-schema", "--output"}});
    }

    int runIn(Session& session, const Arguments& arguments) override {
        return print(arguments, session.output());
    }

private:
    int print(const Arguments& arguments, Output& output) const {
        const std::string contract = contractFor(arguments);
        if (!contract.empty()) {
            return output.print(contract);
        }
        SheetPrinter printer(arguments, output);
        return printer.print(m_schema == nullptr ? listing(printer.isForTerminal())
                                                 : detailsOf(*m_schema));
    }

    /// Blank if no contract was asked for.
    std::string contractFor(const Arguments& arguments) const {
        if (arguments.has("--openrpc")) {
            return MethodContract::openRpc();
        }
        if (arguments.has("--json-schema")) {
            return m_schema == nullptr ? MethodContract::json()
                                       : SchemaContract::rowsJson(*m_schema);
        }
        if (arguments.has("--answers")) {
            return SchemaContract::xsd(*m_schema, Side::Answer);
        }
        return arguments.has("--xsd") ? SchemaContract::xsd(*m_schema, Side::Request) : "";
    }

    const KnownSchemas::Entry* m_schema = nullptr;
};

}  // namespace

std::unique_ptr<SessionCommand> makeSchemasCommand() {
    return std::make_unique<SchemasCommand>();
}
