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
#include "service/DataAccessService.h"

namespace {

std::string quoted(const std::string& text) {
    std::string written = "\"";
    for (const char character : text) {
        written += character == '"' || character == '\\' ? "\\" : "";
        written += character;
    }
    return written + "\"";
}

std::string listOf(const std::vector<std::string>& texts) {
    std::string written = "{";
    for (const std::string& text : texts) {
        written += (written.size() > 1 ? ", " : "") + quoted(text);
    }
    return written + "}";
}

void write(std::ostream& out, const SchemaFacts& facts) {
    out << "    {" << quoted(facts.name) << ", " << quoted(facts.table) << ",\n     "
        << listOf(facts.reasons) << ",\n     " << quoted(facts.users) << ", " << listOf(facts.key)
        << ",\n     " << listOf(facts.defaultRows) << ", " << (facts.hasDataFile ? "true" : "false")
        << ",\n     {";
    for (const ColumnFacts& column : facts.columns) {
        out << "{" << quoted(column.name) << ", " << quoted(column.type) << ", "
            << listOf(column.defaults) << "},\n      ";
    }
    out << "},\n     " << listOf(facts.elements) << ",\n     " << listOf(facts.itemElements)
        << ",\n     {";
    for (const AnswerFormFacts& form : facts.answerForms) {
        out << "{" << listOf(form.columns) << ", {";
        for (const auto& item : form.itemForms) {
            out << listOf(item) << ",\n      ";
        }
        out << "}},\n      ";
    }
    out << "}},\n";
}

bool writeAll(const std::string& file, const std::vector<SchemaFacts>& all) {
    std::ofstream out(file);
    out << "// Written by das_write_schemas from the tables of the service: not to be edited.\n"
           "#include \"schemas/KnownSchemas.h\"\n\n"
           "const std::vector<KnownSchemas::Entry>& KnownSchemas::all() {\n"
           "    static const std::vector<Entry> entries = {\n";
    for (const SchemaFacts& facts : all) {
        write(out, facts);
    }
    out << "    };\n    return entries;\n}\n";
    out.close();
    return out.good();
}

/// A telephone that is gone at the end.
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
