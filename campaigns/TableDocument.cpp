#include "TableDocument.h"

#include <fstream>

namespace {

using Texts = std::vector<std::string>;

/// What stands between backquotes in @p line.
Texts quoted(const std::string& line) {
    Texts texts;
    for (auto open = line.find('`'); open != std::string::npos;) {
        const auto close = line.find('`', open + 1);
        texts.push_back(line.substr(open + 1, close - open - 1));
        open = line.find('`', close + 1);
    }
    return texts;
}

bool startsWith(const std::string& line, const char* start) {
    return line.rfind(start, 0) == 0;
}

/// Takes a line of a table's section.
void take(const std::string& line, Subject& table, Texts& schemas) {
    if (startsWith(line, "- Schemas:")) {
        schemas = quoted(line);
    } else if (startsWith(line, "- Reasons:")) {
        table.reasons = quoted(line);
    } else if (startsWith(line, "- Rows of: base")) {
        table.isOfUsers = true;
    } else if (startsWith(line, "- Key:")) {
        const Texts keys = quoted(line);
        table.key = keys.empty() ? "" : keys.back();
    } else if (startsWith(line, "- Data file: yes")) {
        table.hasDataFile = true;
    } else if (startsWith(line, "| ") && !startsWith(line, "| Column |")) {
        table.columns.push_back(line.substr(2, line.find(' ', 2) - 2));
    }
}

void finish(Subject& table, const Texts& schemas, std::vector<Subject>& subjects) {
    if (table.key.empty()) {
        table.key = table.table == "CallGroup" ? "CallGroup" : "Id";
    }
    for (const std::string& schema : schemas) {
        table.schema = schema;
        subjects.push_back(table);
    }
}

}  // namespace

std::vector<Subject> documentedSubjects() {
    std::ifstream document(DAS_SOURCE_DIR "/docs/tables.md");
    std::vector<Subject> subjects;
    Subject table;
    Texts schemas;
    for (std::string line; std::getline(document, line);) {
        if (startsWith(line, "## ")) {
            finish(table, schemas, subjects);
            table = {};
            table.table = line.substr(3);
            schemas.clear();
        } else {
            take(line, table, schemas);
        }
    }
    finish(table, schemas, subjects);
    return subjects;
}
