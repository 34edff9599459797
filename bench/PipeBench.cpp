// das_pipe_bench: the cost of a request for a client of das over a pipe, compared with a program
// that was written by hand for this one request. That program reads the same lines, prepares and
// runs the same statements by SQLite's plain interface, and writes the same answers.

#include <sched.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <nlohmann/json.hpp>
#include <regex>
#include <stdexcept>
#include <string>
#include <vector>

#include "Bench.h"
#include "Log.h"
#include "PipeProcess.h"
#include "Place.h"
#include "Program.h"
#include "service/DataAccessService.h"
#include "terminal/Output.h"
#include "testkit/Phone.h"

namespace fs = std::filesystem;
using namespace Bench;

namespace {

struct Options {
    std::string filter = ".";
    double seconds = 3;  ///< of each operation in memory
    std::string jsonFile;
    std::vector<std::string> folders;
    bool anyProcessor = false;
    std::string floor;     ///< run only as the floor of this operation
    std::string database;  ///< of the floor
};

/// The minimum time of a batch, so that the clock's resolution and a single wait for the disk have
/// little effect.
constexpr double BatchMicroseconds = 400;
constexpr int LeastRounds = 5;
/// Other writes on the machine make most rounds on a disk slower, so more time is used there.
constexpr double DiskFactor = 3;

const Operation& operationOf(const std::string& name) {
    const auto found = std::find_if(operations().begin(), operations().end(),
                                    [&](const Operation& each) { return each.name == name; });
    return found != operations().end() ? *found : throw std::runtime_error("no operation " + name);
}

/// The floor: request in, answer out, until the input ends.
int serveAsFloor(const Options& options) {
    const Operation& operation = operationOf(options.floor);
    FloorDatabase database(options.database);
    database.leaveOutCounts();
    std::ios::sync_with_stdio(false);
    for (std::string line; std::getline(std::cin, line);) {
        const RequestFields request =
            operation.call.empty() ? RequestFields::of(line) : RequestFields();
        std::string answer = operation.floor(database, operation.statementsOf(request));
        if (!operation.call.empty() && answer == "true") {
            answer = operation.answerToCall;
        }
        std::cout << (answer += '\n') << std::flush;
        if (!database.failure().empty()) {
            std::cerr << database.failure() << "\n";
            return 1;
        }
    }
    return 0;
}

/// Microseconds of one request: for the client, and of the program's processor time. The smallest
/// value of all batches.
struct Best {
    double time = 1e12;
    double processor = 1e12;
};

/// One operation on one file system.
class Duel {
public:
    Duel(const Operation& operation, const fs::path& folder)
        : m_operation(operation),
          m_place(folder),
          m_ready(makeDatabases()),
          m_service(serviceCommand(), m_place.path("service.log")),
          m_floor(floorCommand(), m_place.path("floor.log")) {}

    /// Both programs in turn, until @p seconds have passed.
    void run(double seconds) {
        const double first = exchange(m_service, m_best[0], 1);
        (void)exchange(m_floor, m_best[1], 1);
        compareAnswers();
        const double usual = std::min(first, exchange(m_service, m_best[0], 1));
        (void)exchange(m_floor, m_best[1], 1);
        const int batch = std::clamp(static_cast<int>(BatchMicroseconds / usual), 1, 20);
        m_best[0] = m_best[1] = Best();
        const double end = now() + seconds * 1e6;
        for (m_rounds = 0; m_rounds < LeastRounds || now() < end; ++m_rounds) {
            const std::size_t begins = m_rounds % 2;
            measure(begins, batch);
            measure(1 - begins, batch);
            compareAnswers();
        }
    }

    nlohmann::json row(const std::string& where) const {
        return {{"operation", m_operation.name},
                {"place", where},
                {"service_us", m_best[0].time},
                {"floor_us", m_best[1].time},
                {"ratio", m_best[0].time / m_best[1].time},
                {"service_cpu_us", m_best[0].processor},
                {"floor_cpu_us", m_best[1].processor},
                {"cpu_ratio", m_best[0].processor / m_best[1].processor},
                {"rounds", m_rounds}};
    }

private:
    bool makeDatabases() {
        {
            TestContext context;
            DataAccessService service;
            service.init(context);
            m_operation.prepare(service);
        }
        fs::create_directories(m_place.path("floor"));
        return fs::copy_file(m_place.database(), m_place.path("floor/phone.db"));
    }

    std::vector<std::string> serviceCommand() const {
        const std::string das = folderOfProgram() / "das";
        return m_operation.call.empty() ? std::vector<std::string>{das, "request", "-"}
                                        : std::vector<std::string>{das, "serve", "--stdio"};
    }

    std::vector<std::string> floorCommand() const {
        return {folderOfProgram() / "das_pipe_bench", "--floor", m_operation.name, "--database",
                m_place.path("floor/phone.db")};
    }

    void measure(std::size_t which, int batch) {
        PipeProcess& program = which == 0 ? m_service : m_floor;
        const double before = program.processorTime();
        const double time = exchange(program, m_best[which], batch);
        const double processor = (program.processorTime() - before) / batch;
        m_best[which].time = std::min(m_best[which].time, time);
        m_best[which].processor = std::min(m_best[which].processor, processor);
    }

    /// Microseconds for each of @p batch requests. Both programs get the same requests.
    double exchange(PipeProcess& program, Best& best, int batch) {
        int& round = &best == &m_best[0] ? m_round[0] : m_round[1];
        std::vector<std::string> lines;
        for (int i = 0; i < batch; ++i) {
            ++round;
            lines.push_back(
                (m_operation.call.empty() ? m_operation.request(round) : m_operation.call) + "\n");
        }
        std::string& answer = &best == &m_best[0] ? m_answer[0] : m_answer[1];
        const double begin = now();
        for (const std::string& line : lines) {
            program.exchange(line, answer);
        }
        return (now() - begin) / batch;
    }

    void compareAnswers() const {
        if (m_answer[0] != m_answer[1]) {
            throw std::runtime_error(m_operation.name + ": the answers differ\nservice: " +
                                     m_answer[0] + "floor:   " + m_answer[1]);
        }
    }

    const Operation& m_operation;
    const Place m_place;
    const bool m_ready;
    PipeProcess m_service;
    PipeProcess m_floor;
    Best m_best[2];
    int m_round[2] = {0, 0};
    std::string m_answer[2];
    int m_rounds = 0;
};

/// One processor for all, so that the result does not depend on where the system puts the programs.
/// A request then costs the work of both sides and a switch between processes, without waking
/// another processor.
void stayOnOneProcessor() {
    cpu_set_t set;
    CPU_ZERO(&set);
    if (sched_getaffinity(0, sizeof set, &set) != 0) {
        return;
    }
    int last = CPU_SETSIZE - 1;
    while (last > 0 && !CPU_ISSET(last, &set)) {
        --last;
    }
    CPU_ZERO(&set);
    CPU_SET(last, &set);
    (void)sched_setaffinity(0, sizeof set, &set);
}

nlohmann::json measureAll(const Options& options, Output& output) {
    nlohmann::json rows = nlohmann::json::array();
    for (const Operation& operation : operations()) {
        if (!operation.statementsOf ||
            !std::regex_search(operation.name, std::regex(options.filter))) {
            continue;
        }
        for (const std::string& folder : options.folders) {
            Duel duel(operation, folder);
            const bool isDisk = folder != "/dev/shm";
            duel.run(isDisk ? options.seconds * DiskFactor : options.seconds);
            const nlohmann::json& row = rows.emplace_back(duel.row(isDisk ? "disk" : "memory"));
            char line[200];
            (void)std::snprintf(
                line, sizeof line,
                "%-38s %-7s %9.1f us  floor %9.1f us  ratio %.3f  processor %9.1f %9.1f %.3f  %d",
                operation.name.c_str(), row["place"].get<std::string>().c_str(),
                row["service_us"].get<double>(), row["floor_us"].get<double>(),
                row["ratio"].get<double>(), row["service_cpu_us"].get<double>(),
                row["floor_cpu_us"].get<double>(), row["cpu_ratio"].get<double>(),
                row["rounds"].get<int>());
            (void)output.writeLine(line);
        }
    }
    return rows;
}

}  // namespace

int main(int argc, char** argv) {
    Options options;
    options.folders = {folderOfProgram(), "/dev/shm"};
    CLI::App app(
        "Measures requests to das over a pipe, in turn with a program written by hand for each. "
        "Prints the smallest of many short batches.");
    app.add_option("--filter", options.filter, "Only what matches this regular expression");
    app.add_option("--seconds", options.seconds,
                   "Of each operation in memory; thrice that on a disk")
        ->capture_default_str();
    app.add_option("--folder", options.folders, "Where the databases are made")
        ->capture_default_str();
    app.add_option("--json", options.jsonFile, "Write the results to this file");
    app.add_flag("--any-processor", options.anyProcessor, "Do not keep all to one processor");
    app.add_option("--floor", options.floor, "Only be the floor of this operation");
    app.add_option("--database", options.database, "The floor's database");
    CLI11_PARSE(app, argc, argv);
    try {
        if (!options.floor.empty()) {
            return serveAsFloor(options);
        }
        if (!options.anyProcessor) {
            stayOnOneProcessor();
        }
        Log::setLevel(1);
        Output output(Output::Printed::Nowhere);
        const nlohmann::json rows = measureAll(options, output);
        if (!options.jsonFile.empty()) {
            std::ofstream(options.jsonFile) << rows.dump(2) << "\n";
        }
        return 0;
    } catch (const std::exception& error) {
        std::cerr << "das_pipe_bench: " << error.what() << "\n";
        return 1;
    }
}
