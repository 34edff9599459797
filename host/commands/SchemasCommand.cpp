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
#include "terminal/Output.h"

namespace {

/// A line a schema; the lists of all columns and default rows would leave a terminal no room.
Sheet listing(bool isShort) {
    Sheet sheet{{"Schema", "Table", "Users", "Reasons"}, {}};
    if (!isShort) {
        sheet.columns.insert(sheet.columns.end(), {"Columns", "Default rows"});
    }
    for (const KnownSchemas::Entry& each : KnownSchemas::all()) {
        sheet.rows.push_back(
            {each.name, each.table, each.users, RowArguments::joined(each.reasons)});
        if (isShort) {
            continue;
        }
        std::vector<std::string> columns;
        for (const KnownSchemas::Column& column : each.columns) {
            columns.push_back(column.name);
        }
        sheet.rows.back().push_back(RowArguments::joined(columns));
        sheet.rows.back().push_back(RowArguments::joined(each.defaultRows));
    }
    return sheet;
}

std::string textOf(const KnownSchemas::Column& column) {
    const std::string defaults = RowArguments::joined(column.defaults);
    return defaults.empty() ? column.type : column.type + ", default " + defaults;
}

Sheet detailsOf(const KnownSchemas::Entry& schema) {
    Sheet sheet{{"What", "Value"},
                {{"Schema", schema.name},
                 {"Table", schema.table},
                 {"Reasons", RowArguments::joined(schema.reasons)},
                 {"Rows of", schema.users},
                 {"Key", RowArguments::joined(schema.key)},
                 {"Default rows", RowArguments::joined(schema.defaultRows)},
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
