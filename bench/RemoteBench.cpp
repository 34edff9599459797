// das_remote_bench: what it costs to call the service over a socket, and whether the host grows.

#include <fcntl.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "EchoServer.h"
#include "Log.h"
#include "Method.h"
#include "client/SocketConnection.h"
#include "server/SocketServer.h"
#include "service/DataAccessService.h"
#include "terminal/Output.h"
#include "testkit/Messages.h"
#include "testkit/Phone.h"
#include "testkit/Place.h"

namespace fs = std::filesystem;
using namespace Bench;

namespace {

constexpr int FirstKey = 100;
constexpr int RequestsToAnUpdate = 5;  ///< one update, the others reads
constexpr int RequestsInATurn = 20;    ///< of each client
constexpr double LeastThroughputRatio = 0.8;
constexpr double MostRoundTripRatio = 2.5;
constexpr long MostGrowthKilobytes = 1024;

const std::vector<std::string> HostCommand{"das", "serve", "--socket"};
/// A process of its own, as the host is: how fast two processes meet depends on where they run.
const std::vector<std::string> EchoCommand{"das_remote_bench", "--echo"};

struct Options {
    int clients = 64;
    int requests = 1000;
    int roundTrips = 20000;
    int memoryRequests = 100000;
    int memoryConnections = 1000;
    std::string folder;
};

[[noreturn]] void fail(const std::string& words) {
    throw std::runtime_error(words);
}

fs::path folderOfProgram() {
    return fs::read_symlink("/proc/self/exe").parent_path();
}

/// A program that serves a socket, in the place that the environment names.
class ServerProcess {
public:
    /// @p arguments begin with the program, which stands beside this one, and end before the
    /// socket.
    ServerProcess(std::vector<std::string> arguments, const std::string& socket)
        : m_socket(socket) {
        arguments[0] = folderOfProgram() / arguments[0];
        arguments.push_back(socket);
        start(arguments);
        while (!fs::exists(socket)) {
            std::this_thread::yield();
        }
    }
    ~ServerProcess() {
        kill(m_process, SIGTERM);
        waitpid(m_process, nullptr, 0);
    }
    ServerProcess(const ServerProcess&) = delete;
    ServerProcess& operator=(const ServerProcess&) = delete;

    std::unique_ptr<SocketConnection> connect() const {
        for (int attempt = 0; attempt < 1000; ++attempt) {
            auto connection = std::make_unique<SocketConnection>();
            std::string error;
            if (connection->open(m_socket, error)) {
                return connection;
            }
            std::this_thread::yield();  // between the making of the file and the first listen
        }
        fail("no connection to " + m_socket);
    }

    long residentKilobytes() const {
        std::ifstream status("/proc/" + std::to_string(m_process) + "/status");
        std::string word;
        while (status >> word && word != "VmRSS:") {
        }
        long size = 0;
        status >> size;
        return size;
    }

private:
    void start(const std::vector<std::string>& arguments) {
        std::vector<char*> pointers;
        for (const std::string& argument : arguments) {
            pointers.push_back(const_cast<char*>(argument.c_str()));
        }
        pointers.push_back(nullptr);
        posix_spawn_file_actions_t actions;
        posix_spawn_file_actions_init(&actions);
        posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, (m_socket + ".log").c_str(),
                                         O_WRONLY | O_CREAT, 0600);
        const int error =
            posix_spawn(&m_process, pointers[0], &actions, nullptr, pointers.data(), environ);
        posix_spawn_file_actions_destroy(&actions);
        if (error != 0) {
            fail(arguments[0] + " can't be started");
        }
    }

    const std::string m_socket;
    pid_t m_process = 0;
};

std::string keyMessage(const char* reason, const std::string& body) {
    return xml::message("FeatureKeys", reason, body);
}

/// The requests of one client, each with the answer that it must get: four reads of the client's
/// own key to one update of it.
struct Work {
    std::string label;

    std::string request(std::size_t client, int number) {
        const std::string id =
            "<Id>" + std::to_string(FirstKey + static_cast<int>(client)) + "</Id>";
        if (number % RequestsToAnUpdate == 0) {
            label = std::to_string(client) + "." + std::to_string(number);
            return keyMessage("update_request", id + "<Label>" + label + "</Label>");
        }
        return keyMessage("read_request", "<ResultCols>Label</ResultCols>" + id);
    }

    std::string answer(int number) const {
        return number % RequestsToAnUpdate == 0
                   ? keyMessage("update_response", "")
                   : keyMessage("read_response", "<Entry><Label>" + label + "</Label></Entry>");
    }
};

std::string ask(SocketConnection& connection, const std::string& message) {
    Method answer;
    std::string text;
    if (!connection.call(Connection::requestOf(message), answer) ||
        !answer.getStringParameter("Response", text)) {
        fail("no answer to " + message);
    }
    return text;
}

template <typename Function>
double seconds(Function function) {
    const auto start = std::chrono::steady_clock::now();
    function();
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

/// One caller in this process, who does the work of all clients.
class Caller {
public:
    explicit Caller(const Options& options)
        : m_place(options.folder), m_works(static_cast<std::size_t>(options.clients)) {
        m_service.init(m_context);
        (void)m_service.processRequest(keyMessage("read_request", ""));
    }

    /// Does the requests from @p first up to @p last of each client; gives the seconds.
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
    const ScratchPlace m_place;
    TestContext m_context;
    DataAccessService m_service;
    std::vector<Work> m_works;
};

/// All clients at once, over the socket.
class Crowd {
public:
    explicit Crowd(const Options& options)
        : m_place(options.folder),
          m_host(HostCommand, m_place.folder() / "s"),
          m_works(static_cast<std::size_t>(options.clients)) {
        (void)ask(*m_host.connect(), keyMessage("read_request", ""));
        for (int client = 0; client < options.clients; ++client) {
            m_connections.push_back(m_host.connect());
        }
    }

    /// As above.
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

    const ScratchPlace m_place;
    const ServerProcess m_host;
    std::vector<std::unique_ptr<SocketConnection>> m_connections;
    std::vector<Work> m_works;
};

double median(std::vector<double> values) {
    const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
    std::nth_element(values.begin(), middle, values.end());
    return *middle;
}

/// Microseconds of an exchange of lines.
double roundTrip(SocketConnection& connection, const std::string& line) {
    std::string answer;
    return 1e6 * seconds([&] {
               if (!connection.sendLine(line) || !connection.readLine(answer)) {
                   fail("no answer");
               }
           });
}

std::string verdict(bool isGood) {
    return isGood ? "" : "  ABOVE";
}

template <typename... Arguments>
void print(Output& output, const char* format, Arguments... arguments) {
    char line[256];
    (void)std::snprintf(line, sizeof line, format, arguments...);
    if (!output.writeLine(line)) {
        fail("the results can't be written");
    }
}

void measureRoundTrips(const Options& options, Output& output) {
    const ScratchPlace place(options.folder);
    const ServerProcess host(HostCommand, place.folder() / "s");
    const ServerProcess server(EchoCommand, place.folder() / "echo");
    const std::string line = SocketConnection::toCall(Connection::requestOf("getCurrentUser"));
    const auto service = host.connect();
    const auto echo = server.connect();
    std::vector<double> serviceTimes;
    std::vector<double> echoTimes;
    for (int round = 0; round < options.roundTrips; ++round) {
        serviceTimes.push_back(roundTrip(*service, line));
        echoTimes.push_back(roundTrip(*echo, line));
    }
    const double ratio = median(serviceTimes) / median(echoTimes);
    print(output,
          "round trip of getCurrentUser   %8.1f us  echo    %8.1f us  ratio %.2f  at most %.2f%s",
          median(serviceTimes), median(echoTimes), ratio, MostRoundTripRatio,
          verdict(ratio <= MostRoundTripRatio).c_str());
}

/// In turns of a few requests, so that what else the machine does counts for both.
void measureThroughput(const Options& options, Output& output) {
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
    print(output,
          "requests/s of %3d clients      %8.0f     in-process %8.0f  ratio %.2f  at least %.2f%s",
          options.clients, all / there, all / here, here / there, LeastThroughputRatio,
          here / there >= LeastThroughputRatio ? "" : "  BELOW");
}

void visit(const ServerProcess& host, int requests, int connections) {
    for (int count = 0; count < connections; ++count) {
        const auto connection = host.connect();
        for (int number = 0; number < requests / connections; ++number) {
            (void)ask(*connection, keyMessage("read_request", "<Id>100</Id>"));
        }
    }
}

void measureMemory(const Options& options, Output& output) {
    const ScratchPlace place(options.folder);
    const ServerProcess host(HostCommand, place.folder() / "s");
    visit(host, options.memoryRequests / 10, options.memoryConnections / 10);
    const long before = host.residentKilobytes();
    visit(host, options.memoryRequests, options.memoryConnections);
    const long after = host.residentKilobytes();
    print(output,
          "memory of the host             %8ld KiB before, %ld KiB after %d requests over %d "
          "connections%s",
          before, after, options.memoryRequests, options.memoryConnections,
          verdict(after - before <= MostGrowthKilobytes).c_str());
}

}  // namespace

int main(int argc, char** argv) {
    Options options;
    bool quick = false;
    options.folder = folderOfProgram();
    CLI::App app("Measures the service over the socket of its host.");
    app.add_option("--folder", options.folder, "Where the databases are made")
        ->capture_default_str();
    app.add_flag("--quick", quick, "A tenth of the work");
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
    try {
        measureRoundTrips(options, output);
        measureThroughput(options, output);
        measureMemory(options, output);
        return 0;
    } catch (const std::exception& error) {
        (void)output.writeLine(std::string("das_remote_bench: ") + error.what());
        return 1;
    }
}
