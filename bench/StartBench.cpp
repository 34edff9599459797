// das_start_bench: what a start of the service costs, from the start of das to its first answer,
// against a program that runs nothing but the SQL statements of that start.

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <array>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <nlohmann/json.hpp>
#include <stdexcept>
#include <string>
#include <vector>

#include "Bench.h"
#include "FloorDatabase.h"
#include "Log.h"
#include "StatementRecord.h"
#include "service/DataAccessService.h"
#include "terminal/Output.h"
#include "testkit/Phone.h"
#include "testkit/Place.h"

namespace fs = std::filesystem;
using namespace Bench;

namespace {

const char* const Question = "getCurrentUser\n";
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

/// A database to start over.
struct Case {
    const char* name;
    int contacts;  ///< below zero: there is no database yet
    int calls;
    /// Which statements of the start count as the floor.
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

void require(bool condition, const std::string& words) {
    if (!condition) {
        throw std::runtime_error(words);
    }
}

/// Makes all tables and the rows of the case. Leaves the database as a start left it.
void makeDatabase(const Case& each, const ScratchPlace& place) {
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

/// Runs a start in this process and writes down the statements of the floor.
void recordStatements(const Case& each, const ScratchPlace& place) {
    TestContext context;
    DataAccessService service;
    std::ofstream file((place.folder() / "statements").string(), std::ios::binary);
    const auto lines = StatementRecord::ofNextConnection([&] { service.init(context); });
    for (const std::string& line : lines) {
        const std::string start = "run ";
        if (line.rfind(start, 0) == 0 && each.counts(line.substr(start.size()))) {
            file << line.substr(start.size()) << '\0';
        }
    }
    require(file.flush().good(), "the statements can't be written");
}

/// Microseconds until a program that gets the question has written its answer and has ended.
double run(const std::vector<std::string>& command, const ScratchPlace& place) {
    std::vector<char*> arguments;
    for (const std::string& argument : command) {
        arguments.push_back(const_cast<char*>(argument.c_str()));
    }
    arguments.push_back(nullptr);
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, STDIN_FILENO,
                                     (place.folder() / "question").string().c_str(), O_RDONLY, 0);
    posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO,
                                     (place.folder() / "answer").string().c_str(),
                                     O_WRONLY | O_CREAT | O_TRUNC, 0600);
    posix_spawn_file_actions_addopen(&actions, STDERR_FILENO,
                                     (place.folder() / "log").string().c_str(),
                                     O_WRONLY | O_CREAT | O_TRUNC, 0600);
    pid_t process = 0;
    int status = -1;
    const auto begin = std::chrono::steady_clock::now();
    const int error =
        posix_spawn(&process, arguments[0], &actions, nullptr, arguments.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    require(error == 0 && waitpid(process, &status, 0) == process, command[0] + " does not run");
    const std::chrono::duration<double, std::micro> time = std::chrono::steady_clock::now() - begin;
    std::string answer;
    std::getline(std::ifstream((place.folder() / "answer").string()), answer);
    require(status == 0 && answer == "base",
            command[0] + " fails, its log is " + (place.folder() / "log").string());
    return time.count();
}

double median(std::vector<double> values) {
    std::sort(values.begin(), values.end());
    return values[values.size() / 2];
}

/// Both programs in turn, each on a copy of the same database.
nlohmann::json measure(const Case& each, const fs::path& folder, int rounds, Output& output) {
    const ScratchPlace place(folder);
    const fs::path programs = fs::read_symlink("/proc/self/exe").parent_path();
    const bool isFirstStart = each.contacts < 0;
    writeFile(place.folder() / "question", Question);
    if (!isFirstStart) {
        makeDatabase(each, place);
        fs::copy(place.database(), (place.folder() / "floor.db").string());
    }
    recordStatements(each, place);
    std::vector<double> service;
    std::vector<double> floor;
    for (int round = 0; round < rounds; ++round) {
        if (isFirstStart) {
            fs::remove(place.database());
            fs::remove((place.folder() / "floor.db").string());
        }
        service.push_back(run({programs / "das", "request"}, place));
        floor.push_back(run({programs / "das_start_floor", (place.folder() / "floor.db").string(),
                             (place.folder() / "statements").string()},
                            place));
    }
    const char* const where = folder == "/dev/shm" ? "memory" : "disk";
    const double ratio = median(service) / median(floor);
    std::array<char, 200> line{};
    std::snprintf(line.data(), line.size(), "%-26s %-8s %9.0f us  floor %9.0f us  ratio %.2f",
                  each.name, where, median(service), median(floor), ratio);
    require(output.writeLine(line.data()), "standard output is closed");
    return {{"operation", each.name},    {"place", where}, {"service_us", median(service)},
            {"floor_us", median(floor)}, {"ratio", ratio}, {"rounds", rounds}};
}

}  // namespace

int main(int argc, char** argv) {
    int rounds = 40;
    bool quick = false;
    std::string jsonFile;
    std::vector<std::string> folders = {fs::read_symlink("/proc/self/exe").parent_path(),
                                        "/dev/shm"};
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
