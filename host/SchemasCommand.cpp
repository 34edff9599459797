#include <memory>
#include <string>
#include <vector>

#include "Arguments.h"
#include "Command.h"
#include "HostOptions.h"
#include "KnownSchemas.h"
#include "Output.h"
#include "RowArguments.h"
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
                 {"Data file", schema.hasDataFile ? "yes" : "no"}}};
    for (const KnownSchemas::Column& column : schema.columns) {
        sheet.rows.push_back({"Column " + column.name, textOf(column)});
    }
    for (const std::string& element : schema.itemElements) {
        sheet.rows.push_back({"Of each call", element});
    }
    return sheet;
}

/// "das schemas": what the service's own tables say; nothing is started.
class SchemasCommand : public Command {
public:
    int run(const HostOptions& /*options*/, const Arguments& arguments) override {
        const auto name = arguments.value("NAME");
        const KnownSchemas::Entry* const schema = name ? RowArguments::findSchema(*name) : nullptr;
        if (!SheetPrinter::check(arguments) || (name && schema == nullptr)) {
            return ExitUsage;
        }
        Output output;
        return SheetPrinter(arguments, output)
            .print(schema == nullptr ? listing() : detailsOf(*schema));
    }
};

}  // namespace

std::unique_ptr<Command> makeSchemasCommand() {
    return std::make_unique<SchemasCommand>();
}
