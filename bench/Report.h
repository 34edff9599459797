#ifndef REPORT_H
#define REPORT_H

#include <benchmark/benchmark.h>

#include <cstdint>
#include <string>
#include <vector>

#include "Bench.h"
#include "terminal/Output.h"

namespace Bench {

/// Medians of one operation on one file system.
struct Result {
    std::string operation;
    std::string place;
    double serviceMicroseconds;
    double floorMicroseconds;
    std::int64_t rounds;

    double ratio() const { return serviceMicroseconds / floorMicroseconds; }
};

/// Prints an aligned line for each result as soon as it is known, and stores all results.
class Report : public benchmark::BenchmarkReporter {
public:
    /// @p output takes the lines; not owned.
    explicit Report(Output& output) : m_output(output) {}

    bool ReportContext(const Context& context) override;
    /// Prints what was added since the last call, or why there is no result.
    void ReportRuns(const std::vector<Run>& runs) override;

    /// The result of the present run; a later one of the same run replaces it.
    void set(const Result& result) { m_present = result; }

    /// Whether every operation could be measured.
    bool isGood() const { return m_good; }
    /// Writes all results; false when the file can't be written.
    bool writeJson(const std::string& path) const;

private:
    void print(const std::string& line);

    Output& m_output;
    Result m_present{};
    std::vector<Result> m_results;
    bool m_good = true;
};

}  // namespace Bench

#endif
