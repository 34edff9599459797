// das_remote_bench: the cost of calling the service over a socket, and whether the host's memory
// grows.

#include <unistd.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <atomic>
#include <chrono>
#include <filesystem>
#include <functional>
#include <memory>
#include <regex>
#include <string>
#include <thread>
#include <vector>

#include "Bench.h"
#include "EchoServer.h"
#include "Figures.h"
#include "HostProcess.h"
#include "Log.h"
#include "Place.h"
#include "client/SocketConnection.h"
#include "server/SocketServer.h"
#include "service/DataAccessService.h"
#include "terminal/Output.h"
#include "testkit/Phone.h"

using namespace Bench;

namespace {

constexpr int FirstKey = 100;
constexpr int RequestsToAnUpdate = 5;  ///< one update, the others reads
constexpr int RequestsInATurn = 20;    ///< of each client

const std::vector<std::string> HostCommand{"das", "serve", "--socket"};
/// A separate process, like the host, because the time between two processes depends on where they
/// run.
const std::vector<std::string> EchoCommand{"das_remote_bench", "--echo"};

struct Options {
    int clients = 64;
    int requests = 1000;
    int roundTrips = 20000;
    int memoryRequests = 100000;
    int memoryConnections = 1000;
    std::string folder;
};

/// The requests of one client, each with the expected answer: four reads of the client's own key
/// for each update of it.
struct Work {
    std::string label;

    std::string request(std::size_t client, int number) {
        const std::string id =
            "<Id>" + std::to_string(FirstKey + static_cast<int>(client)) + "</Id>";
        if (number % RequestsToAnUpdate == 0) {
            label = std::to_string(client) + "." + std::to_string(number);
            return message("FeatureKeys", "update_request", id + "<Label>" + label + "</Label>");
        }
        return message("FeatureKeys", "read_request", "<ResultCols>Label</ResultCols>" + id);
    }

    std::string answer(int number) const {
        return number % RequestsToAnUpdate == 0
                   ? message("FeatureKeys", "update_response", "")
                   : message("FeatureKeys", "read_response",
                             "<Entry><Label>" + label + "</Label></Entry>");
    }
};

template <typename Function>
double seconds(Function function) {
    const auto start = std::chrono::steady_clock::now();
    function();
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

/// One caller in this process that does the work of all clients.
class Caller {
public:
    explicit Caller(const Options& options)
        : m_place(options.folder), m_works(static_cast<std::size_t>(options.clients)) {
        m_service.init(m_context);
        (void)m_service.processRequest(message("FeatureKeys", "read_request", ""));
    }

    /// Sends the requests from @p first to before @p last of each client; returns the seconds.
    double run(int first, int last) {
        return seconds([&] {
            for (int number = first; number < last; ++number) {
                for (std::size_t client = 0; client < m_works.size(); ++client) {
                    const std::string request = m_works[client].request(client, number);
                    if (m_service.processRequest(request) != m_works[client].answer(number)) {
                        fail("a wrong answer in this process");
                    }
                }
            }
        });
    }

private:
    const Place m_place;
    TestContext m_context;
    DataAccessService m_service;
    std::vector<Work> m_works;
};

/// All clients at once, over the socket.
class Crowd {
public:
    explicit Crowd(const Options& options)
        : m_place(options.folder),
          m_host(HostCommand, m_place.path("s")),
          m_works(static_cast<std::size_t>(options.clients)) {
        (void)ask(*m_host.connect(), message("FeatureKeys", "read_request", ""));
        for (int client = 0; client < options.clients; ++client) {
            m_connections.push_back(m_host.connect());
        }
    }

    /// As Caller::run().
    double run(int first, int last) {
        std::atomic<int> wrong{0};
        const double time = seconds([&] {
            std::vector<std::thread> threads;
            for (std::size_t client = 0; client < m_works.size(); ++client) {
                threads.emplace_back([&, client] { wrong += visit(client, first, last); });
            }
            for (std::thread& thread : threads) {
                thread.join();
            }
        });
        return wrong == 0 ? time : (fail("wrong answers over the socket"), 0);
    }

private:
    /// The number of wrong answers.
    int visit(std::size_t client, int first, int last) {
        int wrong = 0;
        for (int number = first; number < last; ++number) {
            const std::string request = m_works[client].request(client, number);
            wrong += ask(*m_connections[client], request) == m_works[client].answer(number) ? 0 : 1;
        }
        return wrong;
    }

    const Place m_place;
    const HostProcess m_host;
    std::vector<std::unique_ptr<SocketConnection>> m_connections;
    std::vector<Work> m_works;
};

/// Microseconds of an exchange of lines.
double roundTrip(SocketConnection& connection, const std::string& line) {
    std::string answer;
    return 1e6 * seconds([&] { exchangeLines(connection, line, answer); });
}

void measureRoundTrips(const Options& options, Figures& figures) {
    const Place place(options.folder);
    const HostProcess host(HostCommand, place.path("s"));
    const HostProcess server(EchoCommand, place.path("echo"));
    const std::string line = SocketConnection::toCall(Connection::requestOf("getCurrentUser"));
    const auto service = host.connect();
    const auto echo = server.connect();
    std::vector<double> serviceTimes;
    std::vector<double> echoTimes;
    for (int round = 0; round < options.roundTrips; ++round) {
        serviceTimes.push_back(roundTrip(*service, line));
        echoTimes.push_back(roundTrip(*echo, line));
    }
    figures.add("Host/RoundTrip", median(serviceTimes), "us");
    figures.add("Host/RoundTripOfEcho", median(echoTimes), "us");
    figures.add("Host/RoundTripToEcho", median(serviceTimes) / median(echoTimes), "times");
}

/// In turns of a few requests, so that other load of the machine affects both.
void measureThroughput(const Options& options, Figures& figures) {
    Caller caller(options);
    Crowd crowd(options);
    double here = 0;
    double there = 0;
    for (int first = 0; first < options.requests; first += RequestsInATurn) {
        const int last = std::min(first + RequestsInATurn, options.requests);
        here += caller.run(first, last);
        there += crowd.run(first, last);
    }
    const double all = options.clients * options.requests;
    figures.add("Host/MixedRequests", all / there, "a second");
    figures.add("Host/MixedRequestsInProcess", all / here, "a second");
    figures.add("Host/MixedToInProcess", here / there, "times");
}

void visit(const HostProcess& host, int requests, int connections) {
    for (int count = 0; count < connections; ++count) {
        const auto connection = host.connect();
        for (int number = 0; number < requests / connections; ++number) {
            (void)ask(*connection, message("FeatureKeys", "read_request", "<Id>100</Id>"));
        }
    }
}

void measureMemory(const Options& options, Figures& figures) {
    const Place place(options.folder);
    const HostProcess host(HostCommand, place.path("s"));
    visit(host, options.memoryRequests / 10, options.memoryConnections / 10);
    const long before = host.kilobytes("VmRSS:");
    visit(host, options.memoryRequests, options.memoryConnections);
    const long after = host.kilobytes("VmRSS:");
    figures.add("Host/GrowthOfMemory", static_cast<double>(after - before), "KiB");
}

using Part = std::pair<std::string, std::function<void()>>;

}  // namespace

int main(int argc, char** argv) {
    Options options;
    bool quick = false;
    options.folder = folderOfProgram();
    CLI::App app("Measures the service over the socket of its host.");
    app.add_option("--folder", options.folder, "Where the databases are made")
        ->capture_default_str();
    app.add_flag("--quick", quick, "A tenth of the work");
    std::string only = ".";
    std::string jsonFile;
    app.add_option(
        "--filter", only,
        "Only trips, throughput, growth, reads, memory, access, way, listeners or changes");
    app.add_option("--json", jsonFile, "Write the results to this file");
    std::string echoSocket;
    app.add_option("--echo", echoSocket, "Only serve this socket, sending each line back");
    CLI11_PARSE(app, argc, argv);
    if (!echoSocket.empty()) {
        const EchoServer server(echoSocket, SocketServer::threads());
        pause();
    }
    if (quick) {
        for (int* const count : {&options.requests, &options.roundTrips, &options.memoryRequests,
                                 &options.memoryConnections}) {
            *count /= 10;
        }
    }
    Output output;
    Figures figures(output);
    const LoadOptions load{options.folder, quick ? 10 : 1};
    try {
        const std::regex filter(only);
        for (const auto& [name, measure] : std::initializer_list<Part>{
                 {"trips", [&] { measureRoundTrips(options, figures); }},
                 {"throughput", [&] { measureThroughput(options, figures); }},
                 {"growth", [&] { measureMemory(options, figures); }},
                 {"reads", [&] { measureReads(load, figures); }},
                 {"memory", [&] { measureMemoryOfReads(load, figures); }},
                 {"access", [&] { measureAccessRules(load, figures); }},
                 {"way", [&] { measureWayOfChange(load, figures); }},
                 {"listeners", [&] { measureCostOfListeners(load, figures); }},
                 {"changes", [&] { measureRateOfChanges(load, figures); }}}) {
            if (std::regex_search(name, filter)) {
                measure();
            }
        }
        return jsonFile.empty() || figures.write(jsonFile) ? 0 : 1;
    } catch (const std::exception& error) {
        (void)output.writeLine(std::string("das_remote_bench: ") + error.what());
        return 1;
    }
}
