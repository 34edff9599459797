#include <cerrno>
#include <filesystem>
#include <fstream>
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

bool writeFile(const std::filesystem::path& path, const std::string& text) {
    errno = 0;
    std::ofstream file(path, std::ios::binary);
    file << text;
    file.close();
    if (!file.good()) {
        Complaint::tellError(path.string(), errno);
    }
    return file.good();
}

/// Every contract as a file below @p folder.
bool writeAll(const std::filesystem::path& folder) {
    std::error_code error;
    std::filesystem::create_directories(folder / "xsd", error);
    if (error) {
        Complaint::tellError(folder.string(), error.value());
        return false;
    }
    bool isWritten = writeFile(folder / "methods.schema.json", MethodContract::json()) &&
                     writeFile(folder / "answers.json", SchemaContract::answersJson());
    for (const KnownSchemas::Entry& schema : KnownSchemas::all()) {
        const auto path = folder / "xsd" / schema.name;
        isWritten =
            isWritten &&
            writeFile(path.string() + ".request.xsd", SchemaContract::xsd(schema, Side::Request)) &&
            writeFile(path.string() + ".answer.xsd", SchemaContract::xsd(schema, Side::Answer));
    }
    return isWritten;
}

/// "das schema": what messages look like, for other programs. Starts nothing.
class SchemaCommand : public Command {
public:
    int run(const HostOptions& /*options*/, const Arguments& arguments) override {
        if (!check(arguments)) {
            return ExitUsage;
        }
        if (const auto folder = arguments.value("--write")) {
            return writeAll(*folder) ? ExitSuccess : ExitFailure;
        }
        const auto name = arguments.value("NAME");
        if (!name && !arguments.has("--json")) {
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
        if (arguments.has("--write") && arguments.text("--write").empty()) {
            Complaint::tell("schema: --write: the name of the folder is empty");
            return false;
        }
        return RowArguments::checkApart("schema", arguments,
                                        {{"--xsd", "--json"},
                                         {"--answers", "--json"},
                                         {"--write", "NAME"},
                                         {"--write", "--xsd"},
                                         {"--write", "--answers"},
                                         {"--write", "--json"}});
    }

    static std::string textFor(const Arguments& arguments, const KnownSchemas::Entry* schema) {
        if (schema == nullptr) {
            return MethodContract::json();
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
