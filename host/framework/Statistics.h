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
 */
class Statistics {
public:
    using Clock = std::chrono::steady_clock;

    /// One kind of calls.
    struct Calls {
        std::atomic<std::uint64_t> count{0};
        std::atomic<std::uint64_t> failures{0};
        std::atomic<std::uint64_t> time{0};  ///< in microseconds
        std::atomic<std::uint64_t> longest{0};

        void add(bool hasFailed, std::uint64_t microseconds);
    };

    /// How many connections listen.
    struct Listeners {
        std::size_t profile = 0;
        std::size_t status = 0;
        std::size_t log = 0;
        std::size_t changes = 0;
    };

    /// Names of a call, before it is carried out.
    struct Subject {
        Calls* method;
        Calls* request;  ///< null for a method that makes none
    };

    Statistics();

    /// Where a call of @p method counts. @p request is the text of a request, null for none.
    Subject subjectOf(const std::string& method, const std::string* request);

    /// Counts a call that began at @p begin.
    static void count(const Subject& subject, bool hasFailed, Clock::time_point begin);

    void addClient();
    void removeClient() { --m_clients; }

    /// All of it as JSON on one line. The call that asks is counted in it.
    std::string json(const Listeners& listeners) const;

    std::atomic<std::uint64_t> refused{0};
    std::atomic<std::uint64_t> closed{0};  ///< clients, at a limit
    std::atomic<std::uint64_t> bytesIn{0};
    std::atomic<std::uint64_t> bytesOut{0};
    std::atomic<std::int64_t> bytesWaiting{0};

private:
    using Reasons = std::vector<Calls>;  ///< in the order of Methods::reasons(), then all others

    nlohmann::ordered_json requestsAsJson() const;
    nlohmann::ordered_json methodsAsJson() const;

    const Clock::time_point m_begin = Clock::now();
    std::unordered_map<std::string, Reasons> m_requests;
    std::unordered_map<std::string, Calls> m_methods;
    std::atomic<std::uint64_t> m_clients{0};
    std::atomic<std::uint64_t> m_mostClients{0};
    std::atomic<std::uint64_t> m_allClients{0};
};

#endif
