#include <memory>
#include <string>
#include <vector>

#include "cli/Arguments.h"
#include "cli/Command.h"
#include "cli/RowArguments.h"
#include "cli/SheetPrinter.h"
#include "client/HostOptions.h"
#include "client/Session.h"
#include "schemas/KnownSchemas.h"
#include "schemas/Sentences.h"
#include "terminal/Output.h"

namespace {

/// A line a schema. A terminal gets what each one holds: with the lists there would be no room.
Sheet listing(bool isShort) {
    if (isShort) {
        Sheet sheet{{"Schema", "Meaning"}, {}, true};
        for (const KnownSchemas::Entry& each : KnownSchemas::all()) {
            sheet.rows.push_back({each.name, Sentences::ofSchema(each.name)});
        }
        return sheet;
    }
    Sheet sheet{{"Schema", "Table", "Users", "Reasons", "Columns", "Default rows", "Meaning"}, {}};
    for (const KnownSchemas::Entry& each : KnownSchemas::all()) {
        std::vector<std::string> columns;
        for (const KnownSchemas::Column& column : each.columns) {
            columns.push_back(column.name);
        }
        sheet.rows.push_back({each.name, each.table, each.users, RowArguments::joined(each.reasons),
                              RowArguments::joined(columns), RowArguments::joined(each.defaultRows),
                              Sentences::ofSchema(each.name)});
    }
    return sheet;
}

std::string textOf(const KnownSchemas::Column& column) {
    const std::string defaults = RowArguments::joined(column.defaults);
    return defaults.empty() ? column.type : column.type + ", default " + defaults;
}

Sheet detailsOf(const KnownSchemas::Entry& schema) {
    Sheet sheet{{"What", "Value", "Meaning"},
                {{"Schema", schema.name, Sentences::ofSchema(schema.name)},
                 {"Table", schema.table, ""},
                 {"Reasons", RowArguments::joined(schema.reasons), ""},
                 {"Rows of", schema.users, ""},
                 {"Key", RowArguments::joined(schema.key), ""},
                 {"Default rows", RowArguments::joined(schema.defaultRows), ""},
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

/// "das schemas": what the service's own tables say. Alone, it starts nothing.
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
        const auto name = arguments.value("NAME");
        m_schema = name ? RowArguments::findSchema(*name) : nullptr;
        return SheetPrinter::check(arguments) && (!name || m_schema != nullptr);
    }

    int runIn(Session& session, const Arguments& arguments) override {
        return print(arguments, session.output());
    }

private:
    int print(const Arguments& arguments, Output& output) const {
        SheetPrinter printer(arguments, output);
        return printer.print(m_schema == nullptr ? listing(printer.isForTerminal())
                                                 : detailsOf(*m_schema));
    }

    const KnownSchemas::Entry* m_schema = nullptr;
};

}  // namespace

std::unique_ptr<Command> makeSchemasCommand() {
    return std::make_unique<SchemasCommand>();
}
