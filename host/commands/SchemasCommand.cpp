// "das schemas": what the tables of the service say. By itself it starts nothing.

#include "ClientUtils.h"
#include "cli/Command.h"
#include "cli/RowArguments.h"
#include "cli/SheetPrinter.h"
#include "schemas/SchemaContract.h"
#include "wire/MethodContract.h"

namespace {

std::string joined(const std::vector<std::string>& names) {
    return ClientUtils::join(names, ", ");
}

/// A line a schema. The lists of all columns and default rows would fill a terminal.
Sheet listing(bool isShort) {
    Sheet sheet{{"Schema", "Table", "Users", "Reasons"}, {}};
    if (!isShort) {
        sheet.columns.insert(sheet.columns.end(), {"Columns", "Default rows"});
    }
    for (const KnownSchemas::Entry& each : KnownSchemas::all()) {
        sheet.rows.push_back({each.name, each.table, each.users, joined(each.reasons)});
        if (isShort) {
            continue;
        }
        std::vector<std::string> columns;
        for (const KnownSchemas::Column& column : each.columns) {
            columns.push_back(column.name);
        }
        sheet.rows.back().push_back(joined(columns));
        sheet.rows.back().push_back(joined(each.defaultRows));
    }
    return sheet;
}

std::string textOf(const KnownSchemas::Column& column) {
    const std::string defaults = joined(column.defaults);
    return defaults.empty() ? column.type : column.type + ", default " + defaults;
}

Sheet detailsOf(const KnownSchemas::Entry& schema) {
    Sheet sheet{{"What", "Value"},
                {{"Schema", schema.name},
                 {"Table", schema.table},
                 {"Reasons", joined(schema.reasons)},
                 {"Rows of", schema.users},
                 {"Key", joined(schema.key)},
                 {"Default rows", joined(schema.defaultRows)},
                 {"Data file", schema.hasDataFile ? "yes" : "no"}},
                true};
    for (const KnownSchemas::Column& column : schema.columns) {
        sheet.rows.push_back({"Column " + column.name, textOf(column)});
    }
    for (const std::string& element : schema.itemElements) {
        sheet.rows.push_back({"Of each call", element});
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
                                        {{"--xsd", "--json-schema"},
                                         {"--answers", "--json-schema"},
                                         {"--xsd", "--output"},
                                         {"--answers", "--output"},
                                         {"--json-schema", "--output"}});
    }

    int runIn(Session& session, const Arguments& arguments) override {
        return print(arguments, session.output());
    }

private:
    int print(const Arguments& arguments, Output& output) const {
        if (arguments.has("--json-schema")) {
            return output.print(m_schema == nullptr ? MethodContract::json()
                                                    : SchemaContract::rowsJson(*m_schema));
        }
        if (arguments.has("--xsd") || arguments.has("--answers")) {
            using SchemaContract::Side;
            return output.print(SchemaContract::xsd(
                *m_schema, arguments.has("--answers") ? Side::Answer : Side::Request));
        }
        SheetPrinter printer(arguments, output);
        return printer.print(m_schema == nullptr ? listing(printer.isForTerminal())
                                                 : detailsOf(*m_schema));
    }

    const KnownSchemas::Entry* m_schema = nullptr;
};

}  // namespace

std::unique_ptr<SessionCommand> makeSchemasCommand() {
    return std::make_unique<SchemasCommand>();
}
