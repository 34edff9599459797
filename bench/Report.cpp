#include "Report.h"

#include <cstdio>
#include <fstream>
#include <nlohmann/json.hpp>

namespace Bench {

namespace {

template <typename... Arguments>
std::string formatted(const char* format, Arguments... arguments) {
    char line[256];
    (void)std::snprintf(line, sizeof line, format, arguments...);
    return line;
}

}  // namespace

void Report::print(const std::string& line) {
    m_good = m_output.writeLine(line) && m_good;
}

bool Report::ReportContext(const Context&) {
    print(formatted("%-44s %-7s %12s %12s %7s %7s", "operation", "place", "service us", "floor us",
                    "ratio", "rounds"));
    return true;
}

void Report::ReportRuns(const std::vector<Run>& runs) {
    for (const Run& run : runs) {
        if (run.error_occurred) {
            m_good = false;
            print(run.run_name.function_name + ": " + run.error_message);
            continue;
        }
        const Result& result = m_present;
        print(formatted("%-44s %-7s %12.1f %12.1f %7.3f %7lld", result.operation.c_str(),
                        result.place.c_str(), result.serviceMicroseconds, result.floorMicroseconds,
                        result.ratio(), static_cast<long long>(result.rounds)));
        m_results.push_back(result);
    }
}

bool Report::writeJson(const std::string& path) const {
    nlohmann::json rows = nlohmann::json::array();
    for (const Result& result : m_results) {
        rows.push_back({{"operation", result.operation},
                        {"place", result.place},
                        {"service_us", result.serviceMicroseconds},
                        {"floor_us", result.floorMicroseconds},
                        {"ratio", result.ratio()},
                        {"rounds", result.rounds}});
    }
    std::ofstream file(path);
    file << rows.dump(2) << "\n";
    return file.flush().good();
}

}  // namespace Bench
