// das_start_bench: the cost of a start, from the start of das to its first answer, compared with a
// program that only runs the SQL statements of that start.

#include <fcntl.h>
#include <sys/resource.h>
#include <sys/wait.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "Bench.h"
#include "FloorDatabase.h"
#include "Log.h"
#include "Place.h"
#include "Program.h"
#include "StatementRecord.h"
#include "service/DataAccessService.h"
#include "terminal/Descriptor.h"
#include "terminal/Output.h"
#include "testkit/Phone.h"

namespace fs = std::filesystem;
using namespace Bench;

namespace {

const char* const Question = "getCurrentUser\n";
/// A second floor that does not depend on the statements of a start: it reads each row once.
const std::vector<std::string> ReadsOfAll = {
    "SELECT COUNT(DISTINCT Office), SUM(LENGTH(SpeedDialID)) FROM PHONE_BOOK;",
    "SELECT COUNT(DISTINCT Number0), SUM(LENGTH(GroupNumber9)) FROM CALL_LOG;"};
const char* const SchemasOfAllTables[] = {"AbbreviatedDialling",
                                          "Analytics",
                                          "BluetoothBlacklisted",
                                          "BluetoothTrusted",
                                          "CanonicalLookUp",
                                          "CertificateKeys",
                                          "Certificates",
                                          "CodecSettings",
                                          "ConfigLockDown",
                                          "Conversations",
                                          "CallLog",
                                          "DialPlanEntries",
                                          "DistinctiveRinging",
                                          "FeatureKeySettings",
                                          "FileDownloadSettings",
                                          "HeadsetPriorities",
                                          "LocalFunctionLockDown",
                                          "SRTPEncryptionSettings",
                                          "StartApplicationFixedKeys"};

/// A database for a start.
struct Case {
    const char* name;
    int contacts;  ///< negative: there is no database yet
    int calls;
    /// Selects the statements of the start that the floor runs.
    bool (*counts)(const std::string& sql);
};

bool isAny(const std::string&) {
    return true;
}

bool isCreateOrInsert(const std::string& sql) {
    for (const char* word : {"CREATE", "INSERT", "BEGIN", "END"}) {
        if (sql.rfind(word, 0) == 0) {
            return true;
        }
    }
    return false;
}

const Case Cases[] = {{"Start/First", -1, 0, isCreateOrInsert},
                      {"Start/Over1000Contacts", 1000, 100, isAny},
                      {"Start/Over10000Contacts", 10000, 100, isAny},
                      {"Start/Over10000Calls", 0, 10000, isAny}};

/// Creates all tables and the rows of the case, and leaves the database as after a start.
void makeDatabase(const Case& each, const Place& place) {
    TestContext context;
    {
        DataAccessService service;
        service.init(context);
        for (const char* schema : SchemasOfAllTables) {
            (void)service.processRequest(
                message(schema, "read_request", "<ResultCols>UserContext</ResultCols>"));
        }
    }
    FloorDatabase database(place.database());
    database.run("BEGIN;");
    for (int i = 0; i < each.contacts; ++i) {
        const std::string number = std::to_string(700000 + i);
        database.run(
            "INSERT INTO PHONE_BOOK (UserContext, Surname, Firstname, Office, Office2, "
            "Mobile, Private, Picture) VALUES ('base', 'Surname " +
            number + "', 'Firstname', '" + number + "', '8" + number + "', '9" + number +
            "', '', '');");
    }
    for (int i = 0; i < each.calls; ++i) {
        database.run(
            "INSERT INTO CALL_LOG (UserContext, Category, EntryId, Surname, Number0, "
            "TimeDate0) VALUES ('base', 'Missed', 'E" +
            std::to_string(i) + "', 'Caller', '" + std::to_string(700000 + i) +
            "', '20250101120000');");
    }
    database.run("END;");
    require(database.failure().empty(), database.failure());
    DataAccessService service;
    service.init(context);
}

/// Runs a start in this process and writes the statements for the floor to a file.
void recordStatements(const Case& each, const Place& place) {
    TestContext context;
    DataAccessService service;
    std::ofstream file(place.path("statements"), std::ios::binary);
    const auto lines = StatementRecord::ofNextConnection([&] { service.init(context); });
    for (const std::string& line : lines) {
        const std::string start = "run ";
        const bool isRun = line.rfind(start, 0) == 0;
        // A statement that SQLite runs inside another one is traced as a comment.
        if (isRun && line.compare(start.size(), 2, "--") != 0 &&
            each.counts(line.substr(start.size()))) {
            file << line.substr(start.size()) << '\0';
        }
    }
    require(file.flush().good(), "the statements can't be written");
}

/// Microseconds of a program.
struct Times {
    double all;         ///< until it has written its answer and has ended
    double processors;  ///< processor time of its threads, which other load of the machine changes
                        ///< little
};

double microseconds(const timeval& time) {
    return static_cast<double>(time.tv_sec) * 1e6 + static_cast<double>(time.tv_usec);
}

/// Runs a program with the request on its standard input.
Times run(const std::vector<std::string>& command, const Place& place) {
    const Descriptor question(open(place.path("question").c_str(), O_RDONLY | O_CLOEXEC));
    const Descriptor output(openOutput(place.path("answer")));
    const Descriptor errors(openOutput(place.path("log")));
    int status = -1;
    const double begin = now();
    const pid_t process =
        startProgram(command, {question.number(), output.number(), errors.number()});
    rusage usage{};
    require(wait4(process, &status, 0, &usage) == process, command[0] + " does not run");
    const double time = now() - begin;
    std::string answer;
    std::getline(std::ifstream(place.path("answer")), answer);
    std::ifstream log(place.path("log"));
    require(status == 0 && answer == "base",
            command[0] + " fails: " + std::string(std::istreambuf_iterator<char>(log), {}));
    return {time, microseconds(usage.ru_utime) + microseconds(usage.ru_stime)};
}

/// Both programs in turn, each on a copy of the same database.
nlohmann::json measure(const Case& each, const fs::path& folder, int rounds, Output& output) {
    const Place place(folder);
    const fs::path programs = folderOfProgram();
    const bool isFirstStart = each.contacts < 0;
    std::ofstream(place.path("question")) << Question;
    if (!isFirstStart) {
        makeDatabase(each, place);
        fs::copy(place.database(), place.path("floor.db"));
    }
    recordStatements(each, place);
    {
        std::ofstream file(place.path("reads"), std::ios::binary);
        for (const std::string& sql : ReadsOfAll) {
            file << sql << '\0';
        }
    }
    std::vector<double> service;
    std::vector<double> floor;
    double processors = 1e12;
    double ofReads = 1e12;
    for (int round = 0; round < rounds; ++round) {
        if (isFirstStart) {
            fs::remove(place.database());
            fs::remove(place.path("floor.db"));
        }
        const Times times = run({programs / "das", "request"}, place);
        service.push_back(times.all);
        processors = std::min(processors, times.processors);
        floor.push_back(
            run({programs / "das_start_floor", place.path("floor.db"), place.path("statements")},
                place)
                .all);
        if (!isFirstStart) {
            const Times reads = run(
                {programs / "das_start_floor", place.path("floor.db"), place.path("reads")}, place);
            ofReads = std::min(ofReads, reads.processors);
        }
    }
    const char* const where = folder == "/dev/shm" ? "memory" : "disk";
    const double ratio = median(service) / median(floor);
    std::array<char, 200> line{};
    std::snprintf(line.data(), line.size(), "%-26s %-8s %9.0f us  floor %9.0f us  ratio %.2f",
                  each.name, where, median(service), median(floor), ratio);
    require(output.writeLine(line.data()), "standard output is closed");
    return {{"operation", each.name},
            {"place", where},
            {"service_us", median(service)},
            {"floor_us", median(floor)},
            {"ratio", ratio},
            {"processors_us", processors},
            {"processors_of_reads_us", ofReads},
            {"rounds", rounds}};
}

}  // namespace

int main(int argc, char** argv) {
    int rounds = 40;
    bool quick = false;
    std::string jsonFile;
    std::vector<std::string> folders = {folderOfProgram(), "/dev/shm"};
    CLI::App app("Measures starts of the service, in pairs with the statements that they run.");
    app.add_option("--rounds", rounds, "Starts of each kind")->capture_default_str();
    app.add_option("--folder", folders, "Where the databases are made")->capture_default_str();
    app.add_option("--json", jsonFile, "Write the results to this file");
    app.add_flag("--quick", quick, "Five rounds");
    CLI11_PARSE(app, argc, argv);
    StatementRecord::install();
    Log::setLevel(1);
    Output output;
    try {
        nlohmann::json rows = nlohmann::json::array();
        for (const Case& each : Cases) {
            for (const std::string& folder : folders) {
                rows.push_back(measure(each, folder, quick ? 5 : rounds, output));
            }
        }
        if (!jsonFile.empty()) {
            std::ofstream file(jsonFile);
            file << rows.dump(2) << "\n";
            require(file.flush().good(), jsonFile + " can't be written");
        }
        return 0;
    } catch (const std::exception& error) {
        (void)output.writeLine(std::string("das_start_bench: ") + error.what());
        return 1;
    }
}
