// Writes what messages look like, for other programs, from the tables of the code: files below the
// folder that is named. The build runs it, so that the files are never older than the tables.

#include <filesystem>
#include <fstream>
#include <iostream>
#include <string>

#include "schemas/KnownSchemas.h"
#include "schemas/SchemaContract.h"
#include "wire/MethodContract.h"

namespace {

using SchemaContract::Side;

bool write(const std::filesystem::path& path, const std::string& text) {
    std::ofstream file(path, std::ios::binary);
    file << text << std::flush;
    if (!file.good()) {
        std::cerr << path.string() << ": can't be written" << std::endl;
    }
    return file.good();
}

}  // namespace

int main(int argc, char** argv) {
    const std::filesystem::path folder = argc == 2 ? argv[1] : ".";
    std::error_code error;
    std::filesystem::create_directories(folder / "xsd", error);
    bool isWritten = !error && write(folder / "methods.schema.json", MethodContract::json()) &&
                     write(folder / "answers.json", SchemaContract::answersJson());
    for (const KnownSchemas::Entry& schema : KnownSchemas::all()) {
        const std::string path = (folder / "xsd" / schema.name).string();
        isWritten = isWritten &&
                    write(path + ".request.xsd", SchemaContract::xsd(schema, Side::Request)) &&
                    write(path + ".answer.xsd", SchemaContract::xsd(schema, Side::Answer));
    }
    return isWritten ? 0 : 1;
}
