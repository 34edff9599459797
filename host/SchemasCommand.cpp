#include <memory>
#include <string>
#include <vector>

#include "Arguments.h"
#include "Command.h"
#include "HostOptions.h"
#include "KnownSchemas.h"
#include "Output.h"
#include "RowArguments.h"
#include "Session.h"
#include "SheetPrinter.h"

namespace {

std::string joined(const std::vector<std::string>& texts) {
    std::string text;
    for (const std::string& each : texts) {
        text += (text.empty() ? "" : ", ") + each;
    }
    return text;
}

Sheet listing() {
    Sheet sheet{{"Schema", "Table", "Users", "Reasons"}, {}};
    for (const KnownSchemas::Entry& each : KnownSchemas::all()) {
        sheet.rows.push_back({each.name, each.table, each.users, joined(each.reasons)});
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
        return SheetPrinter(arguments, output)
            .print(m_schema == nullptr ? listing() : detailsOf(*m_schema));
    }

    const KnownSchemas::Entry* m_schema = nullptr;
};

}  // namespace

std::unique_ptr<Command> makeSchemasCommand() {
    return std::make_unique<SchemasCommand>();
}
