// Writes the table of schemas that das knows, made from the tables of the service's code.
// Usage: das_write_schemas FILE

#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <string>
#include <vector>

#include "TableFacts.h"
#include "schemas/DAOFactory.h"
#include "schemas/SchemaJson.h"
#include "service/DataAccessService.h"

namespace {

/// Writes the facts as JSON in a string literal, because compilers take much longer for as many
/// initialisers. The names are also written separately, for code that needs only them.
bool writeAll(const std::string& file, const std::vector<KnownSchemas::Entry>& all) {
    std::ofstream out(file);
    out << "// Written by das_write_schemas from the tables of the service: not to be edited.\n"
           "extern const char* const SchemasAsJson;\n"
           "const char* const SchemasAsJson = R\"json("
        << nlohmann::json(all).dump(1)
        << ")json\";\n"
           "extern const char* const SchemaNames[];\n"
           "const char* const SchemaNames[] = {";
    for (const KnownSchemas::Entry& schema : all) {
        out << '"' << schema.name << "\", ";
    }
    out << "nullptr};\n";
    out.close();
    return out.good();
}

/// A temporary telephone, which is removed at the end.
class Place {
public:
    Place() {
        m_path = (std::filesystem::temp_directory_path() / "das-schemas-XXXXXX").string();
        m_isMade = mkdtemp(m_path.data()) != nullptr;
        if (m_isMade) {
            std::filesystem::create_directories(m_path + "/data");
            std::filesystem::create_directories(m_path + "/tmp");
            setenv("DB_PATH", m_path.c_str(), 1);
            setenv("DAS_ROOT", m_path.c_str(), 1);
            unsetenv("DAS_HARDWARE");
        }
    }
    ~Place() {
        std::error_code ignored;
        if (m_isMade) {
            std::filesystem::remove_all(m_path, ignored);
        }
    }
    Place(const Place&) = delete;
    Place& operator=(const Place&) = delete;

    bool isMade() const { return m_isMade; }

private:
    std::string m_path;
    bool m_isMade = false;
};

}  // namespace

int main(int argc, char** argv) {
    const Place place;
    if (argc != 2 || !place.isMade()) {
        std::cerr << "das_write_schemas: needs a file to write and a place for a database\n";
        return 2;
    }
    DataAccessService service;
    service.constructorActions();
    const auto facts =
        collectFacts(DAOFactory::schemas(), *service.getDAOFactory(), *service.getAdapter());
    if (!writeAll(argv[1], facts)) {
        std::cerr << "das_write_schemas: " << argv[1] << " can't be written\n";
        return 1;
    }
    return 0;
}
