// How many requests the host takes, how much memory they take, and what the rules of access cost.

#include <algorithm>
#include <atomic>
#include <optional>
#include <thread>

#include "Bench.h"
#include "Figures.h"
#include "HostProcess.h"
#include "Method.h"
#include "Place.h"
#include "framework/AccessCheck.h"

namespace Bench {

namespace {

constexpr int Clients = 64;
constexpr int ClientThreads = 2;
constexpr int Contacts = 10000;
constexpr int ContactsOfRequest = 1000;

const std::vector<std::string> HostCommand{"das", "serve", "--socket"};
/// A separate process, like the host, because the time between two processes depends on where they
/// run.
const std::vector<std::string> EchoCommand{"das_remote_bench", "--echo"};

std::string itemOf(int number) {
    const std::string name = "Item" + std::to_string(number);
    return "<" + name + ">value</" + name + ">";
}

/// The result of a turn of all clients, in microseconds for each request.
struct Turn {
    double time = 1e12;
    double processors = 1e12;  ///< processor time of clients and host together
    double ofHost = 1e12;
};

/// Clients that always wait for an answer. Only few threads run them, because otherwise the
/// clients' own work would use most of the machine.
class Crowd {
public:
    Crowd(const HostProcess& host, std::string line) : m_host(host), m_line(std::move(line)) {
        for (int client = 0; client < Clients; ++client) {
            m_connections.push_back(host.connect());
        }
    }

    void turn(int requestsOfClient, Turn& best) {
        const double ofHost = m_host.processorTime();
        const double ofClients = processorTimeOf(0);
        const double begin = now();
        std::vector<std::thread> threads;
        for (std::size_t number = 0; number < ClientThreads; ++number) {
            threads.emplace_back([&, number] { visit(number, requestsOfClient); });
        }
        for (std::thread& thread : threads) {
            thread.join();
        }
        const double all = Clients * requestsOfClient;
        const double host = (m_host.processorTime() - ofHost) / all;
        best.time = std::min(best.time, (now() - begin) / all);
        best.ofHost = std::min(best.ofHost, host);
        best.processors = std::min(best.processors, host + (processorTimeOf(0) - ofClients) / all);
    }

private:
    void visit(std::size_t first, int requestsOfClient) {
        std::string answer;
        for (int count = 0; count < requestsOfClient; ++count) {
            for (std::size_t i = first; i < m_connections.size(); i += ClientThreads) {
                m_isGood = m_connections[i]->sendLine(m_line) && m_isGood;
            }
            for (std::size_t i = first; i < m_connections.size(); i += ClientThreads) {
                m_isGood = m_connections[i]->readLine(answer) && m_isGood;
            }
        }
    }

    const HostProcess& m_host;
    const std::string m_line;
    std::vector<std::unique_ptr<SocketConnection>> m_connections;
    std::atomic<bool> m_isGood{true};
};

double mebibytes(const HostProcess& host, const char* name) {
    return static_cast<double>(host.kilobytes(name)) / 1024;
}

void fillBook(const Place& place) {
    const HostProcess host(HostCommand, place.path("fill"));
    const auto connection = host.connect();
    for (int first = 0; first < Contacts; first += ContactsOfRequest) {
        std::string entries;
        for (int i = first; i < first + ContactsOfRequest; ++i) {
            const std::string number = std::to_string(100000 + i);
            entries += "<Entry><Surname>Surname" + number +
                       "</Surname><Firstname>First</Firstname>" + "<Office>" + number +
                       "</Office><Mobile>7" + number + "</Mobile></Entry>";
        }
        (void)ask(*connection, message("PhoneBook", "write_request", entries));
    }
}

}  // namespace

/// Settings read by many clients at once, alternating with lines that are only sent back.
void measureReads(const LoadOptions& options, Figures& figures) {
    const Place place(options.folder);
    const HostProcess host(HostCommand, place.path("s"));
    const HostProcess echo(EchoCommand, place.path("echo"));
    std::string items;
    for (int number = 0; number < 100; ++number) {
        items += itemOf(number);
    }
    (void)ask(*host.connect(), message("AudioSettings", "write_request", items));
    const std::string line =
        lineOf(message("AudioSettings", "read_request",
                       "<Context currentUser=\"base\"></Context><ResultCols>Item50</ResultCols>"));
    Crowd readers(host, line);
    Crowd echoers(echo, line);
    Turn read;
    Turn sentBack;
    for (int turn = 0; turn < std::max(40 / options.parts, 10); ++turn) {
        readers.turn(20, read);
        echoers.turn(20, sentBack);
    }
    figures.add("Host/ReadsOf64Clients", 1e6 / read.time, "a second");
    figures.add("Host/EchoesOf64Clients", 1e6 / sentBack.time, "a second");
    figures.add("Host/ReadsToEchoes", sentBack.time / read.time, "");
    figures.add("Host/ProcessorsOfRead", read.processors, "us, clients and host");
    figures.add("Host/ProcessorsOfReadInHost", read.ofHost, "us");
    figures.add("Host/ProcessorsOfEcho", sentBack.processors, "us, clients and server");
}

/// A host that has started over many contacts, before and after they are read.
void measureMemoryOfReads(const LoadOptions& options, Figures& figures) {
    {
        const Place place(options.folder);
        const HostProcess host(HostCommand, place.path("s"));
        (void)ask(*host.connect(), message("AudioSettings", "read_request", ""));
        figures.add("Host/MemoryAtRest", mebibytes(host, "VmRSS:"), "MiB");
    }
    const Place place(options.folder);
    fillBook(place);
    const HostProcess host(HostCommand, place.path("s"));
    const auto connection = host.connect();
    (void)ask(*connection, message("AudioSettings", "read_request", ""));
    figures.add("Host/PeakOfStartOver10000Contacts", mebibytes(host, "VmHWM:"), "MiB");
    if (ask(*connection, message("PhoneBook", "read_request", "")).size() < Contacts * 100) {
        fail("not all contacts are read");
    }
    figures.add("Host/PeakOfReading10000Contacts", mebibytes(host, "VmHWM:"), "MiB");
}

/// In this process, because the check takes so little time that a socket would hide it.
void measureAccessRules(const LoadOptions& options, Figures& figures) {
    AccessRules rules;
    std::string error;
    if (!rules.parse(
            "allow any read,write,listen AudioSettings,PhoneBook,CallLogMissedCalls\n",
            [](bool, const std::string&) { return std::optional<id_t>(); }, error)) {
        fail(error);
    }
    const ClientRights rights = rules.rightsOf(Peer());
    const std::pair<const char*, std::string> requests[] = {
        {"ReadSetting",
         message("AudioSettings", "read_request", "<ResultCols>Item50</ResultCols>")},
        {"UpdateSetting", message("AudioSettings", "update_request", "<Item50>value</Item50>")},
        {"SearchNumber",
         message("PhoneBook", "search_phone_number",
                 "<Entry><Office>+49 89 1</Office><Mobile>+49 89 1</Mobile></Entry>")},
        {"UpdateContact",
         message("PhoneBook", "update_request",
                 "<Select><UniqueID>50</UniqueID></Select><Entry><Mobile>1</Mobile></Entry>")},
    };
    for (const auto& [name, text] : requests) {
        const Method call = Connection::requestOf(text);
        double best = 1e12;
        for (int batch = 0; batch < 4000 / options.parts; ++batch) {
            constexpr int checks = 50;
            const double begin = now();
            for (int count = 0; count < checks; ++count) {
                if (!AccessCheck(call, rights).isAllowed()) {
                    fail(text + " is refused");
                }
            }
            best = std::min(best, (now() - begin) / checks);
        }
        figures.add(std::string("Access/") + name, best, "us");
    }
}

}  // namespace Bench
