#ifndef STATISTICS_H
#define STATISTICS_H

#include <atomic>
#include <chrono>
#include <cstdint>
#include <nlohmann/json_fwd.hpp>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

/**
 * The figures of a host about its clients' calls since its start. Any thread may count and read.
 *
 * Schemas, reasons and methods have their counters from the start, and all other names share one,
 * so the size does not depend on what clients send.
 *
 * Each figure is a separate atomic, and no lock is taken: counting a call never waits. So the
 * figures of one answer may be of slightly different moments.
 */
class Statistics {
public:
    using Clock = std::chrono::steady_clock;

    /// One kind of calls.
    struct Calls {
        std::atomic<std::uint64_t> count{0};  ///< all calls, including failed ones
        std::atomic<std::uint64_t> failures{0};
        std::atomic<std::uint64_t> time{0};  ///< in microseconds
        std::atomic<std::uint64_t> longest{0};

        /// Counts a call that took @p microseconds.
        void add(bool hasFailed, std::uint64_t microseconds);
    };

    /// How many connections listen. A client that listens twice counts once.
    struct Listeners {
        std::size_t profile = 0;  ///< to changes of the user
        std::size_t status = 0;   ///< to status items
        std::size_t log = 0;
        std::size_t changes = 0;
    };

    /// The counters of a call, found before the call is made.
    struct Subject {
        Calls* method = nullptr;   ///< null if the method is not counted
        Calls* request = nullptr;  ///< null if the method does not send a request
    };

    /// Creates the counters of all names in the program's tables. The maps do not change
    /// afterwards, so they can be read without a lock.
    Statistics();

    /// The counters for a call of @p method. @p request is the text of a request, or null.
    Subject subjectOf(const std::string& method, const std::string* request);

    /// Counts a call that began at @p begin.
    static void count(const Subject& subject, bool hasFailed, Clock::time_point begin);

    /// Called when a client has connected or disconnected.
    void addClient();
    void removeClient() { --m_clients; }

    /// All figures as JSON on one line. The call that asks for them is already counted.
    std::string json(const Listeners& listeners) const;

    std::atomic<std::uint64_t> refused{0};  ///< calls that the access rules refused
    std::atomic<std::uint64_t> closed{0};   ///< clients that were disconnected at a limit
    // Counted by the sessions of the socket.
    std::atomic<std::uint64_t> bytesIn{0};
    std::atomic<std::uint64_t> bytesOut{0};
    std::atomic<std::int64_t> bytesWaiting{0};

private:
    using Reasons = std::vector<Calls>;  ///< in the order of Methods::reasons(), then all others

    /// Only what was called at least once, in the order of the tables.
    nlohmann::ordered_json requestsAsJson() const;
    nlohmann::ordered_json methodsAsJson() const;

    // What is counted; the maps are filled by the constructor.
    const Clock::time_point m_begin = Clock::now();
    std::unordered_map<std::string, Reasons> m_requests;
    std::unordered_map<std::string, Calls> m_methods;
    std::atomic<std::uint64_t> m_clients{0};
    std::atomic<std::uint64_t> m_mostClients{0};
    std::atomic<std::uint64_t> m_allClients{0};
};

#endif
