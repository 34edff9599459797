#include <memory>
#include <string>

#include "cli/Arguments.h"
#include "cli/Command.h"
#include "cli/RowArguments.h"
#include "client/HostOptions.h"
#include "schemas/KnownSchemas.h"
#include "schemas/SchemaContract.h"
#include "terminal/Complaint.h"
#include "terminal/Output.h"
#include "wire/MethodContract.h"

namespace {

using SchemaContract::Side;

/// "das schema": what messages look like, for other programs. Starts nothing.
class SchemaCommand : public Command {
public:
    int run(const HostOptions& /*options*/, const Arguments& arguments) override {
        if (!check(arguments)) {
            return ExitUsage;
        }
        const auto name = arguments.value("NAME");
        if (!name && !arguments.has("--json") && !arguments.has("--openrpc")) {
            Complaint::tell("schema: which schema?",
                            "das schemas lists them; --json alone prints the remote methods");
            return ExitUsage;
        }
        const auto* const schema = name ? RowArguments::findSchema(*name) : nullptr;
        if (name && schema == nullptr) {
            return ExitUsage;
        }
        Output output;
        return output.write(textFor(arguments, schema)) ? ExitSuccess : Complaint::outputFailed();
    }

private:
    static bool check(const Arguments& arguments) {
        return RowArguments::checkApart("schema", arguments,
                                        {{"--xsd", "--json"},
                                         {"--answers", "--json"},
                                         {"--openrpc", "NAME"},
                                         {"--openrpc", "--xsd"},
                                         {"--openrpc", "--answers"},
                                         {"--openrpc", "--json"}});
    }

    static std::string textFor(const Arguments& arguments, const KnownSchemas::Entry* schema) {
        if (schema == nullptr) {
            return arguments.has("--openrpc") ? MethodContract::openRpc() : MethodContract::json();
        }
        if (arguments.has("--json")) {
            return SchemaContract::rowsJson(*schema);
        }
        return SchemaContract::xsd(*schema,
                                   arguments.has("--answers") ? Side::Answer : Side::Request);
    }
};

}  // namespace

std::unique_ptr<Command> makeSchemaCommand() {
    return std::make_unique<SchemaCommand>();
}
