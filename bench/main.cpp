// das_bench: the cost of a request, compared with the plain SQLite calls that it needs in any case.

#include <linux/magic.h>
#include <sys/vfs.h>

#include <CLI/CLI.hpp>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <memory>
#include <nlohmann/json.hpp>
#include <regex>
#include <string>
#include <vector>

#include "Bench.h"
#include "Log.h"
#include "Place.h"
#include "Program.h"
#include "Report.h"
#include "Stage.h"
#include "StatementRecord.h"
#include "terminal/Output.h"

namespace {

using namespace Bench;

constexpr int MeasuringLogLevel = 2;
constexpr double SecondsOfService = 1.0;
constexpr double QuickSecondsOfService = 0.1;

struct FileSystem {
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
    bool compare = false;
    bool counts = false;
    bool statements = false;
};

/// One operation on one file system. The benchmark library runs it several times with more and more
/// rounds, all on the same stage.
class Measurement {
public:
    Measurement(const Operation& operation, const FileSystem& place, Report& report)
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
        m_report.set(
            {m_operation.name, m_place.name, median(service), median(floor), state.iterations()});
    }

    static void end() { s_stage.reset(); }

private:
    void prepare() {
        if (s_owner == this) {
            return;
        }
        s_stage.reset();  // the environment can name only one stage at a time
        s_owner = this;
        s_stage = std::make_unique<Stage>(m_operation, m_place.folder);
        m_failure = s_stage->compare();
    }

    // Not owned. A stage has a database, so only the one in use exists.
    inline static const Measurement* s_owner = nullptr;
    inline static std::unique_ptr<Stage> s_stage;

    const Operation& m_operation;
    const FileSystem m_place;
    Report& m_report;
    std::string m_failure;
};

bool isMemoryFileSystem(const std::filesystem::path& folder) {
    struct statfs status {};
    return ::statfs(folder.c_str(), &status) == 0 && status.f_type == TMPFS_MAGIC;
}

/// The available file systems, a memory file system last. Reports unsuitable ones.
std::vector<FileSystem> places(const Options& options) {
    std::vector<FileSystem> all;
    for (const FileSystem& place : {FileSystem{"disk", options.diskFolder, true},
                                    FileSystem{"memory", options.memoryFolder, false}}) {
        if (place.folder.empty()) {
            continue;
        }
        if (!std::filesystem::is_directory(place.folder)) {
            std::cerr << "das_bench: no folder " << place.folder << ", left out\n";
            continue;
        }
        if (isMemoryFileSystem(place.folder) == place.isDisk) {
            std::cerr << "das_bench: " << place.folder << " is not a " << place.name
                      << " file system\n";
        }
        all.push_back(place);
    }
    return all;
}

bool measureAll(const Options& options, const std::vector<FileSystem>& all, Output& output) {
    Report report(output);
    std::vector<std::unique_ptr<Measurement>> measurements;
    for (const Operation& operation : operations()) {
        for (const FileSystem& place : all) {
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

/// Visits the operations that match the filter, each on a stage of its own.
template <typename Visit>
bool forEachOperation(const Options& options, const FileSystem& place, Visit visit) {
    const std::regex filter(options.filter);
    bool good = true;
    for (const Operation& operation : operations()) {
        if (std::regex_search(operation.name, filter)) {
            Stage stage(operation, place.folder);
            good = visit(operation, stage) && good;
        }
    }
    return good;
}

bool showStatements(const Options& options, const FileSystem& place, Output& output) {
    return forEachOperation(options, place, [&](const Operation& operation, Stage& stage) {
        bool good = output.writeLine(operation.name);
        for (const std::string& line : stage.recordService()) {
            good = output.writeLine("  " + line) && good;
        }
        return good;
    });
}

bool checkFloors(const Options& options, const FileSystem& place, Output& output) {
    return forEachOperation(options, place, [&](const Operation& operation, Stage& stage) {
        const std::string difference = stage.compare();
        const std::string text = difference.empty() ? "service and floor do the same" : difference;
        return output.writeLine(operation.name + ": " + text) && difference.empty();
    });
}

nlohmann::json toJson(const Counts& counts) {
    return {{"allocations", counts.allocations},
            {"peak_bytes", counts.peakBytes},
            {"syncs", counts.syncs}};
}

bool countAll(const Options& options, const FileSystem& place, Output& output) {
    nlohmann::json rows = nlohmann::json::array();
    bool good = forEachOperation(options, place, [&](const Operation& operation, Stage& stage) {
        const CountedPair pair = stage.count();
        char line[200];
        (void)std::snprintf(line, sizeof line,
                            "%-44s allocations %8lld %8lld  peak %10lld (rows %10lld, answer "
                            "%9lld)  syncs %lld %lld",
                            operation.name.c_str(), pair.service.allocations,
                            pair.floor.allocations, pair.service.peakBytes, pair.rowBytes,
                            pair.answerBytes, pair.service.syncs, pair.floor.syncs);
        rows.push_back({{"operation", operation.name},
                        {"service", toJson(pair.service)},
                        {"floor", toJson(pair.floor)},
                        {"row_bytes", pair.rowBytes},
                        {"answer_bytes", pair.answerBytes},
                        {"writes", !operation.written.empty()}});
        return output.writeLine(stage.failure().empty() ? line : stage.failure()) &&
               stage.failure().empty();
    });
    if (!options.jsonFile.empty()) {
        std::ofstream file(options.jsonFile);
        file << rows.dump(2) << "\n";
        good = file.flush().good() && good;
    }
    return good;
}

bool run(const Options& options, Output& output) {
    const std::vector<FileSystem> all = places(options);
    if (all.empty()) {
        return output.writeLine("there is no folder to work in") && false;
    }
    if (options.statements) {
        return showStatements(options, all.back(), output);
    }
    if (options.counts) {
        return countAll(options, all.back(), output);
    }
    return options.compare ? checkFloors(options, all.back(), output)
                           : measureAll(options, all, output);
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
    app.add_flag("--compare", options.compare, "Compare service and floor, measure nothing");
    app.add_flag("--counts", options.counts,
                 "Count allocations, bytes and syncs of one round; under callgrind, instructions");
    app.add_flag("--statements", options.statements,
                 "Show the statements of the service, measure nothing");
    CLI11_PARSE(app, argc, argv);
    StatementRecord::install();
    Log::setLevel(MeasuringLogLevel);
    Output output;
    try {
        return run(options, output) ? 0 : 1;
    } catch (const std::exception& error) {
        (void)output.writeLine(std::string("das_bench: ") + error.what());
        return 1;
    }
}
