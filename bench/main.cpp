// das_bench: what a request costs, against the bare SQLite calls that it can't do without.

#include <CLI/CLI.hpp>
#include <algorithm>
#include <filesystem>
#include <memory>
#include <regex>
#include <string>
#include <vector>

#include "Bench.h"
#include "Log.h"
#include "Output.h"
#include "Report.h"
#include "Stage.h"
#include "StatementRecord.h"

namespace {

using namespace Bench;

constexpr int MeasuringLogLevel = 2;
constexpr double SecondsOfService = 1.0;
constexpr double QuickSecondsOfService = 0.1;

struct Place {
    std::string name;
    std::filesystem::path folder;
    bool isDisk;
};

struct Options {
    std::string filter = ".";
    std::string jsonFile;
    std::string diskFolder;
    std::string memoryFolder = "/dev/shm";
    bool quick = false;
    bool statements = false;
};

double median(std::vector<double> values) {
    const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
    std::nth_element(values.begin(), middle, values.end());
    return *middle;
}

/// One operation in one place. The library runs it several times with more and more rounds, all on
/// the same stage.
class Measurement {
public:
    Measurement(const Operation& operation, const Place& place, Report& report)
        : m_operation(operation), m_place(place), m_report(report) {}

    void operator()(benchmark::State& state) {
        prepare();
        std::vector<double> service;
        std::vector<double> floor;
        for ([[maybe_unused]] auto round : state) {
            const Pair pair = m_failure.empty() ? s_stage->measure() : Pair{};
            if (!m_failure.empty() || !s_stage->failure().empty()) {
                const std::string& failure = m_failure.empty() ? s_stage->failure() : m_failure;
                state.SkipWithError(failure.c_str());
                return;
            }
            service.push_back(pair.service);
            floor.push_back(pair.floor);
            state.SetIterationTime(pair.service * 1e-6);
        }
        m_report.set({m_operation.name, m_place.name, median(service), median(floor),
                      state.iterations(), m_operation.limit, m_place.isDisk});
    }

    static void end() { s_stage.reset(); }

private:
    void prepare() {
        if (s_owner == this) {
            return;
        }
        s_stage.reset();  // the environment names one stage at a time
        s_owner = this;
        s_stage = std::make_unique<Stage>(m_operation, m_place.folder);
        m_failure = s_stage->compare();
    }

    // Not owned. A stage holds a database: only the one in use is there.
    inline static const Measurement* s_owner = nullptr;
    inline static std::unique_ptr<Stage> s_stage;

    const Operation& m_operation;
    const Place m_place;
    Report& m_report;
    std::string m_failure;
};

std::vector<Place> places(const Options& options) {
    std::vector<Place> all = {{"disk", options.diskFolder, true},
                              {"memory", options.memoryFolder, false}};
    all.erase(std::remove_if(all.begin(), all.end(),
                             [](const Place& place) { return place.folder.empty(); }),
              all.end());
    return all;
}

bool measureAll(const Options& options, Output& output) {
    Report report(output);
    std::vector<std::unique_ptr<Measurement>> measurements;
    for (const Operation& operation : operations()) {
        for (const Place& place : places(options)) {
            measurements.push_back(std::make_unique<Measurement>(operation, place, report));
            Measurement& measurement = *measurements.back();
            benchmark::RegisterBenchmark((operation.name + "/" + place.name).c_str(),
                                         [&measurement](benchmark::State& s) { measurement(s); })
                ->UseManualTime()
                ->MinTime(options.quick ? QuickSecondsOfService : SecondsOfService);
        }
    }
    const std::size_t run = benchmark::RunSpecifiedBenchmarks(&report, options.filter);
    Measurement::end();
    if (run == 0) {
        return output.writeLine("no operation matches") && false;
    }
    return report.isGood() && (options.jsonFile.empty() || report.writeJson(options.jsonFile));
}

bool showStatements(const Options& options, Output& output) {
    const std::regex filter(options.filter);
    bool good = true;
    for (const Operation& operation : operations()) {
        if (!std::regex_search(operation.name, filter)) {
            continue;
        }
        good = output.writeLine(operation.name) && good;
        for (const std::string& line :
             Stage(operation, places(options).back().folder).recordService()) {
            good = output.writeLine("  " + line) && good;
        }
    }
    return good;
}

std::string folderOfProgram() {
    return std::filesystem::read_symlink("/proc/self/exe").parent_path();
}

}  // namespace

int main(int argc, char** argv) {
    Options options;
    options.diskFolder = folderOfProgram();
    CLI::App app(
        "Measures each operation of the service in pairs with its floor: the same SQL "
        "statements over the bare SQLite interface. Prints medians.");
    app.add_option("--filter", options.filter, "Only what matches this regular expression");
    app.add_option("--json", options.jsonFile, "Write the results to this file");
    app.add_option("--disk", options.diskFolder, "Folder on a disk; empty to leave it out")
        ->capture_default_str();
    app.add_option("--memory", options.memoryFolder,
                   "Folder on a memory file system; empty to leave it out")
        ->capture_default_str();
    app.add_flag("--quick", options.quick, "Fewer rounds");
    app.add_flag("--statements", options.statements,
                 "Show the statements of the service, measure nothing");
    CLI11_PARSE(app, argc, argv);
    StatementRecord::install();
    Log::setLevel(MeasuringLogLevel);
    Output output;
    try {
        return (options.statements ? showStatements : measureAll)(options, output) ? 0 : 1;
    } catch (const std::exception& error) {
        (void)output.writeLine(std::string("das_bench: ") + error.what());
        return 1;
    }
}
