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
 * What a host has done for its clients since its start. Any thread may count and ask.
 *
 * Schemas, reasons and methods have their places from the start, and all other names share one:
 * what clients send does not make it grow.
 *
 * Each figure is an atomic of its own, and no lock is taken: a call that counts waits for no other
 * thread. The price is that the figures of one answer may be of slightly different moments.
 */
class Statistics {
public:
    using Clock = std::chrono::steady_clock;

    /// One kind of calls.
    struct Calls {
        std::atomic<std::uint64_t> count{0};  ///< calls, those that failed among them
        std::atomic<std::uint64_t> failures{0};
        std::atomic<std::uint64_t> time{0};  ///< in microseconds
        std::atomic<std::uint64_t> longest{0};

        /// Counts a call that took @p microseconds.
        void add(bool hasFailed, std::uint64_t microseconds);
    };

    /// How many connections listen.
    /// A client that listens twice counts once.
    struct Listeners {
        std::size_t profile = 0;  ///< to changes of the user
        std::size_t status = 0;   ///< to status items
        std::size_t log = 0;
        std::size_t changes = 0;
    };

    /// Names of a call, before it is carried out.
    struct Subject {
        Calls* method = nullptr;   ///< null for no call
        Calls* request = nullptr;  ///< null for a method that makes none
    };

    /// Makes the places of all names that the tables of the program hold.
    /// Nothing is added to the maps afterwards: that is what makes reading them safe without a
    /// lock.
    Statistics();

    /// Where a call of @p method counts. @p request is the text of a request, null for none.
    Subject subjectOf(const std::string& method, const std::string* request);

    /// Counts a call that began at @p begin.
    static void count(const Subject& subject, bool hasFailed, Clock::time_point begin);

    /// A client has connected, or left.
    void addClient();
    void removeClient() { --m_clients; }

    /// All of it as JSON on one line. The call that asks is counted in it.
    std::string json(const Listeners& listeners) const;

    std::atomic<std::uint64_t> refused{0};  ///< calls, by the access rules
    std::atomic<std::uint64_t> closed{0};   ///< clients, at a limit
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
