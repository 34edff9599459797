#ifndef SCHEMAS_H
#define SCHEMAS_H

#include <fstream>
#include <regex>
#include <string>
#include <vector>

/// All schemas: the constants in the order of their header, and those of the call log's categories.
/// The constants are taken from the header itself, so that a new one is met by each walk over them:
/// a constant's text is its name without "Schema".
inline std::vector<std::string> allSchemas() {
    std::ifstream header(DAS_SOURCE_DIR "/platform/include/DASUtilsStrings.h");
    const std::regex constant("extern const std::string (\\w+)Schema;");
    std::vector<std::string> schemas;
    for (std::string line; std::getline(header, line);) {
        std::smatch match;
        if (std::regex_match(line, match, constant)) {
            schemas.push_back(match[1]);
        }
    }
    for (const char* calls : {"Dialled", "Forwarded", "Missed", "Received"}) {
        schemas.push_back(std::string("CallLog") + calls + "Calls");
    }
    return schemas;
}

#endif
