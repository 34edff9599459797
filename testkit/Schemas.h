#ifndef SCHEMAS_H
#define SCHEMAS_H

#include <fstream>
#include <string>
#include <vector>

/// All schemas: the constants in the order of their header, then those of the call log's
/// categories. The constants are read from the header itself, so that tests over all schemas
/// include a new one: the value of a constant is its name without "Schema".
inline std::vector<std::string> allSchemas() {
    std::ifstream header(DAS_SOURCE_DIR "/platform/include/DASUtilsStrings.h");
    const std::string opening = "extern const std::string ";
    const std::string closing = "Schema;";
    std::vector<std::string> schemas;
    for (std::string line; std::getline(header, line);) {
        const auto end = line.rfind(closing);
        if (line.rfind(opening, 0) == 0 && end != std::string::npos) {
            schemas.push_back(line.substr(opening.size(), end - opening.size()));
        }
    }
    for (const char* calls : {"Dialled", "Forwarded", "Missed", "Received"}) {
        schemas.push_back(std::string("CallLog") + calls + "Calls");
    }
    return schemas;
}

#endif
