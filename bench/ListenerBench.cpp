// Changes as they happen: their delay, their rate, and what listeners cost a writer.

#include <algorithm>
#include <atomic>
#include <functional>
#include <iterator>
#include <thread>

#include "Bench.h"
#include "Figures.h"
#include "HostProcess.h"
#include "Method.h"
#include "Place.h"
#include "wire/JsonRpc.h"

namespace Bench {

namespace {

constexpr int Listeners = 64;
constexpr int Items = 70;
// Enough that each listener gets its part of lines that are sent together.
constexpr int WritesInATurn = 20;

const std::vector<std::string> HostCommand{"das", "serve", "--socket"};

std::string itemOf(int round) {
    return "Item" + std::to_string(round % Items);
}

std::string elementOf(const std::string& item, int value) {
    return "<" + item + ">" + std::to_string(1000000 + value) + "</" + item + ">";
}

/// A different value in each round.
std::string updateOf(int round) {
    return message("AudioSettings", "update_request", elementOf(itemOf(round), round));
}

std::unique_ptr<SocketConnection> listen(const HostProcess& host) {
    auto connection = host.connect();
    std::string answer;
    exchangeLines(*connection, SocketConnection::toCall(Method("AddChangeListener")), answer);
    return connection;
}

/// A host whose database has the items.
std::unique_ptr<HostProcess> startHost(const std::string& socket) {
    auto host = std::make_unique<HostProcess>(HostCommand, socket);
    std::string items;
    for (int item = 0; item < Items; ++item) {
        items += elementOf(itemOf(item), -1);
    }
    (void)ask(*host->connect(), message("AudioSettings", "write_request", items));
    return host;
}

/// A writer, and listeners whose messages one thread reads.
class Audience {
public:
    Audience(const std::string& socket, int listeners)
        : m_host(startHost(socket)), m_writer(m_host->connect()) {
        for (int count = 0; count < listeners; ++count) {
            m_listeners.push_back(listen(*m_host));
        }
        m_ear = std::thread([this] { hear(); });
        m_processorTimeOfStart = m_host->processorTime();
    }
    ~Audience() {
        m_host.reset();  // stopping the host ends the listeners' lines
        m_ear.join();
    }
    Audience(const Audience&) = delete;
    Audience& operator=(const Audience&) = delete;

    /// Microseconds of an update, by its writer.
    double write(int updates) {
        std::string answer;
        const double begin = now();
        for (int count = 0; count < updates; ++count) {
            ++m_round;
            exchangeLines(*m_writer, lineOf(updateOf(m_round)), answer);
        }
        return (now() - begin) / updates;
    }

    double processorTime() const {
        return (m_host->processorTime() - m_processorTimeOfStart) / m_round;
    }
    int written() const { return m_round; }
    int heard() const { return m_heard; }

private:
    /// Each change is one line for each listener, in a known order, so one thread reads them all.
    void hear() {
        std::string line;
        for (bool isOpen = !m_listeners.empty(); isOpen;) {
            for (const auto& listener : m_listeners) {
                isOpen = isOpen && listener->readLine(line);
                m_heard += isOpen ? 1 : 0;
            }
        }
    }

    std::unique_ptr<HostProcess> m_host;
    std::unique_ptr<SocketConnection> m_writer;
    std::vector<std::unique_ptr<SocketConnection>> m_listeners;
    std::thread m_ear;
    double m_processorTimeOfStart = 0;
    std::atomic<int> m_heard{0};
    int m_round = 0;
};

std::string parameterOf(const std::string& line, const char* name) {
    std::string text;
    (void)JsonRpc::read(line).method.getStringParameter(name, text);
    return text;
}

/// Sends @p count updates without waiting for answers. Returns the microseconds until the listener
/// has got the last change. Fails if a change is missing or out of order.
double sendAndHear(SocketConnection& writer, SocketConnection& listener, int first, int count) {
    std::vector<std::string> lines;
    for (int round = first; round < first + count; ++round) {
        lines.push_back(JsonRpc::notification(Connection::requestOf(updateOf(round))));
    }
    const double begin = now();
    std::thread sender([&] {
        for (const std::string& line : lines) {
            if (!writer.sendLine(line)) {
                return;
            }
        }
    });
    int wrong = 0;
    std::vector<std::string> heard(static_cast<std::size_t>(count));
    for (std::string& line : heard) {
        wrong += listener.readLine(line) ? 0 : 1;
    }
    const double time = now() - begin;
    sender.join();
    for (int i = 0; i < count; ++i) {
        wrong += parameterOf(heard[static_cast<std::size_t>(i)], "Id") == itemOf(first + i) ? 0 : 1;
    }
    return wrong == 0 ? time : (fail(std::to_string(wrong) + " changes were lost"), 0);
}

}  // namespace

/// Time from the writer's answer to the listener's line, as the clients see both.
void measureWayOfChange(const LoadOptions& options, Figures& figures) {
    const Place place(options.folder);
    const auto host = startHost(place.path("s"));
    const auto listener = listen(*host);
    const auto writer = host->connect();
    std::vector<double> times;
    for (int round = 0; round < 2000 / options.parts; ++round) {
        double heard = 0;
        std::thread ear([&] {
            std::string line;
            heard = listener->readLine(line) ? now() : 0;
        });
        std::string answer;
        exchangeLines(*writer, lineOf(updateOf(round)), answer);
        const double answered = now();
        ear.join();
        times.push_back(std::max(heard - answered, 0.0));
    }
    figures.add("Changes/MedianWayAfterAnswer", median(times) / 1000, "ms");
}

/// The cost of a turn relative to the turn next to it, because the speed of a disk varies over
/// time.
double medianOfRatios(const std::vector<double>& with, const std::vector<double>& without) {
    std::vector<double> ratios;
    std::transform(with.begin(), with.end(), without.begin(), std::back_inserter(ratios),
                   std::divides<>());
    return median(ratios);
}

/// Durable writes with and without listeners, in turn.
void measureCostOfListeners(const LoadOptions& options, Figures& figures) {
    const Place alone(options.folder);
    Audience none(alone.path("s"), 0);
    const Place place(options.folder);
    Audience all(place.path("s"), Listeners);
    std::vector<double> without;
    std::vector<double> with;
    for (int turn = 0; turn < std::max(300 / options.parts, 30); ++turn) {
        without.push_back(none.write(WritesInATurn));
        with.push_back(all.write(WritesInATurn));
    }
    for (int wait = 0; wait < 2000 && all.heard() < all.written() * Listeners; ++wait) {
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    if (all.heard() != all.written() * Listeners) {
        fail("listeners have missed changes");
    }
    figures.add("Changes/DurableWrites", 1e6 / median(without), "a second");
    figures.add("Changes/DurableWritesWith64Listeners", 1e6 / median(with), "a second");
    figures.add("Changes/CostOf64Listeners", medianOfRatios(with, without), "times");
    figures.add("Changes/ProcessorsOfWriteInHost", none.processorTime(), "us");
    figures.add("Changes/ProcessorsOfWriteWith64Listeners", all.processorTime(), "us");
}

/// In memory, because on a disk the syncs of commits do not allow such a rate.
void measureRateOfChanges(const LoadOptions& options, Figures& figures) {
    constexpr int changes = 1000;
    const Place place("/dev/shm");
    const auto host = startHost(place.path("s"));
    const auto listener = listen(*host);
    const auto writer = host->connect();
    double best = 1e12;
    double processors = 1e12;
    for (int turn = 0; turn < std::max(50 / options.parts, 10); ++turn) {
        const double before = host->processorTime();
        best = std::min(best, sendAndHear(*writer, *listener, turn * changes, changes) / changes);
        processors = std::min(processors, (host->processorTime() - before) / changes);
    }
    figures.add("Changes/HeardInOrder", 1e6 / best, "a second");
    figures.add("Changes/ProcessorsOfChangeInHost", processors, "us");
}

}  // namespace Bench
