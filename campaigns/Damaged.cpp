// Starts over damaged databases, each in a process of its own, with requests of each kind behind.

#include <signal.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstring>
#include <exception>
#include <fstream>
#include <iostream>
#include <map>
#include <sstream>

#include "Campaign.h"
#include "Context.h"
#include "DamagedFiles.h"
#include "FullDatabase.h"
#include "LogCapture.h"
#include "Place.h"
#include "database/DatabaseAdapter.h"
#include "service/DataAccessService.h"

namespace fs = std::filesystem;

namespace {

/// A start and its requests take well below a second; SQLite gives up waiting after five.
constexpr unsigned SecondsUntilHang = 120;
constexpr std::size_t AtOnce = 2;
constexpr int FailureLevel = 2;
constexpr long SharesOfReads = 4;

struct NoServices : Context {
    Executable* findService(const std::string&) override { return nullptr; }
};

/// What the process of one database tells, as lines of a word and the rest.
class Report {
public:
    explicit Report(const fs::path& file) : m_file(file) {}
    void say(const std::string& word, const std::string& rest) {
        m_file << word << " " << rest << std::endl;
    }

private:
    std::ofstream m_file;
};

/// All kinds of requests, with the reads of one schema in four; which ones, @p round tells.
std::vector<std::string> makeRequests(long round) {
    std::vector<std::string> requests = FullDatabase::examples();
    const auto reads = FullDatabase::reads();
    for (std::size_t i = 0; i < reads.size(); ++i) {
        if (static_cast<long>(i / 2) % SharesOfReads == round % SharesOfReads) {
            requests.push_back(reads[i]);
        }
    }
    for (const auto& [schema, column] :
         {std::pair{"PhoneBook", "UniqueID"}, std::pair{"CallLogMissedCalls", "UniqueId"}}) {
        requests.push_back(FullDatabase::message(
            schema, "delete_request",
            "<Select><" + std::string(column) + ">3</" + column + "></Select>"));
    }
    return requests;
}

bool isFailure(const std::string& answer) {
    return answer.find("<ReasonForMessage>failure</ReasonForMessage>") != std::string::npos;
}

bool isWhole(const std::string& request, const std::string& answer) {
    const char* const end = "</Schema>";
    const bool isWord = request.find('<') == std::string::npos;
    return !answer.empty() && (isWord || (answer.find("<Schema name=\"") != std::string::npos &&
                                          answer.compare(answer.size() - std::strlen(end),
                                                         std::string::npos, end) == 0));
}

unsigned long inodeOf(const fs::path& path) {
    struct stat status {};
    return ::stat(path.c_str(), &status) == 0 ? status.st_ino : 0;
}

/// Starts a service in the folders that the environment names and sends it all requests.
class Run {
public:
    Run(std::vector<std::string> requests, fs::path database, Report& report)
        : m_requests(std::move(requests)), m_database(std::move(database)), m_report(report) {}

    void run() {
        const unsigned long inode = inodeOf(m_database);
        {
            DataAccessService service;
            NoServices context;
            service.init(context);
            for (const std::string& request : m_requests) {
                send(service, request);
            }
        }
        checkFile(inode);
        checkLog();
        m_report.say("requests", std::to_string(m_requests.size()));
        m_report.say("failures", std::to_string(m_failures));
        m_report.say("exceptions", std::to_string(m_exceptions));
    }

private:
    void send(DataAccessService& service, const std::string& request) {
        try {
            const std::string answer = service.processRequest(request);
            m_failures += isFailure(answer) ? 1 : 0;
            if (!isWhole(request, answer)) {
                m_report.say("found", "an answer that is not whole: " + request + ": " + answer);
            }
        } catch (const std::exception& error) {
            // In this process what the standard library raises arrives; the next request goes on.
            ++m_exceptions;
        }
    }

    /// The file is never removed; only a copy that an earlier start left may take its place. Where
    /// one of the two was whole, the database is whole afterwards.
    void checkFile(unsigned long inode) {
        const unsigned long now = inodeOf(m_database);
        if (now == 0 || (now != inode && !m_hasCopy)) {
            m_report.say("found", "the file is gone, or is another one");
        }
        if (m_hasCopy && !DatabaseAdapter::isSound(m_database)) {
            m_report.say("found", "neither the database nor its copy is whole afterwards");
        }
    }

    /// What SQLite says of a damaged file is told at the level that is written by default, with the
    /// file and the statement.
    void checkLog() {
        const bool isDamaged = m_log.has("malformed") || m_log.has("file is not a database");
        if (isDamaged) {
            m_report.say("told", "damage");
            if (!m_log.has(FailureLevel, m_database.string() + " is damaged")) {
                m_report.say("found", "the log does not name the damaged file");
            }
        }
        if (m_failures + m_exceptions > 0 && m_log.entries().empty()) {
            m_report.say("found", "failures without an entry in the log");
        }
    }

    const std::vector<std::string> m_requests;
    const fs::path m_database;
    Report& m_report;
    LogCapture m_log{3};
    const bool m_hasCopy = fs::exists(m_database.string() + ".before-upgrade");
    int m_failures = 0;
    int m_exceptions = 0;
};

/// The processes that are under way, and what came out of those that ended.
class Processes {
public:
    Processes(Campaign& campaign, fs::path place)
        : m_campaign(campaign), m_place(std::move(place)) {}

    void begin(const DamagedFiles& files, long round) {
        while (m_running.size() >= AtOnce) {
            waitForOne();
        }
        const fs::path folder = m_place / std::to_string(round);
        for (const char* each : {"db", "root/data", "root/tmp", "root/Aurel_Deploy"}) {
            fs::create_directories(folder / each);
        }
        std::seed_seq seed{static_cast<long>(m_campaign.seed()), round};
        std::mt19937 random(seed);
        Child child{folder, files.make(folder / "db", random), std::chrono::steady_clock::now()};
        const pid_t process = ::fork();
        if (process == 0) {
            work(folder, round);
        }
        m_running.emplace(process, std::move(child));
    }

    void end() {
        while (!m_running.empty()) {
            waitForOne();
        }
        for (const auto& [name, count] : m_counts) {
            m_campaign.figure(name, count);
        }
    }

private:
    struct Child {
        fs::path folder;
        std::string damage;
        std::chrono::steady_clock::time_point begun;
    };

    [[noreturn]] void work(const fs::path& folder, long round) {
        ::alarm(SecondsUntilHang);
        ::setenv("DB_PATH", (folder / "db").c_str(), 1);
        ::setenv("DAS_ROOT", (folder / "root").c_str(), 1);
        Report report(folder / "report");
        try {
            Run(makeRequests(round), folder / "db" / "phone.db", report).run();
        } catch (const std::exception& error) {
            report.say("found", std::string("the start raises ") + error.what());
        }
        std::_Exit(0);
    }

    void waitForOne() {
        int status = 0;
        const auto ended = m_running.find(::wait(&status));
        if (ended == m_running.end()) {
            return;
        }
        const Child child = std::move(ended->second);
        m_running.erase(ended);
        if (WIFSIGNALED(status) || WEXITSTATUS(status) != 0) {
            m_campaign.found(child.damage + ": " +
                             (WIFSIGNALED(status) ? ::strsignal(WTERMSIG(status)) : "ended"));
        }
        take(child);
        fs::remove_all(child.folder);
    }

    void take(const Child& child) {
        ++m_counts["damaged by " + child.damage.substr(0, child.damage.find(':'))];
        const auto took = std::chrono::steady_clock::now() - child.begun;
        if (took > m_slowest) {
            m_slowest = took;
            m_campaign.figure("slowest", std::to_string(took / std::chrono::milliseconds(1)) +
                                             " ms, " + child.damage);
        }
        std::ifstream report(child.folder / "report");
        for (std::string word, rest; report >> word && std::getline(report, rest);) {
            takeLine(child, word, rest);
        }
    }

    void takeLine(const Child& child, const std::string& word, const std::string& rest) {
        if (word == "found") {
            m_campaign.found(child.damage + ":" + rest);
        } else if (word == "told") {
            ++m_counts["found damaged by the service"];
        } else if (word == "requests") {
            m_counts["requests"] += std::stoi(rest);
        } else if (word == "failures") {
            m_counts["requests answered with a failure"] += std::stoi(rest);
        } else if (word == "exceptions") {
            m_counts["requests that raised"] += std::stoi(rest);
        }
    }

    Campaign& m_campaign;
    const fs::path m_place;
    std::map<pid_t, Child> m_running;
    std::map<std::string, long long> m_counts;
    std::chrono::steady_clock::duration m_slowest{};
};

std::string databaseOfToday(const Bench::Place& place) {
    FullDatabase::makeToday();
    std::ifstream file(place.path("phone.db"), std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

}  // namespace

int main(int argc, char** argv) {
    Campaign campaign("damaged", "damaged databases", 5000, argc, argv);
    const char* const memory = "/dev/shm";
    const Bench::Place place(::access(memory, W_OK) == 0 ? fs::path(memory)
                                                         : fs::temp_directory_path());
    ::unsetenv("DAS_HARDWARE");
    // A start prints a line; what the campaign prints comes behind all of them.
    const int figures = ::dup(STDOUT_FILENO);
    if (std::freopen("/dev/null", "w", stdout) == nullptr) {
        return 2;
    }
    const DamagedFiles files(place.path("root"), databaseOfToday(place));
    Processes processes(campaign, place.path("runs"));
    for (long round = 0; round < campaign.rounds(); ++round) {
        processes.begin(files, round);
    }
    processes.end();
    ::dup2(figures, STDOUT_FILENO);
    campaign.figure("databases before the damage", static_cast<long long>(files.bases().size()));
    return campaign.end();
}
