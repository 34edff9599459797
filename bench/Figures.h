#ifndef FIGURES_H
#define FIGURES_H

#include <array>
#include <cstdio>
#include <fstream>
#include <nlohmann/json.hpp>
#include <string>

#include "terminal/Output.h"

namespace Bench {

/// Named numbers, printed when they are added. Their limits are in bench/limits.json.
class Figures {
public:
    /// @p output takes the lines; not owned.
    explicit Figures(Output& output) : m_output(output) {}

    void add(const std::string& name, double value, const char* unit) {
        std::array<char, 160> line{};
        (void)std::snprintf(line.data(), line.size(), "%-52s %12.2f %s", name.c_str(), value, unit);
        (void)m_output.writeLine(line.data());
        m_rows.push_back({{"name", name}, {"value", value}, {"unit", unit}});
    }

    /// False when the file can't be written.
    [[nodiscard]] bool write(const std::string& path) const {
        std::ofstream file(path);
        file << m_rows.dump(2) << "\n";
        return file.flush().good();
    }

private:
    Output& m_output;
    nlohmann::json m_rows = nlohmann::json::array();
};

/// The measurements of das_remote_bench. @p folder gets the database; @p parts divides the usual
/// amount of work.
struct LoadOptions {
    std::string folder;
    int parts = 1;
};
void measureReads(const LoadOptions& options, Figures& figures);
void measureMemoryOfReads(const LoadOptions& options, Figures& figures);
void measureAccessRules(const LoadOptions& options, Figures& figures);
void measureWayOfChange(const LoadOptions& options, Figures& figures);
void measureCostOfListeners(const LoadOptions& options, Figures& figures);
void measureRateOfChanges(const LoadOptions& options, Figures& figures);

}  // namespace Bench

#endif
