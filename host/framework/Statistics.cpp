// The maps are filled once and then only read, so that any thread may search them without a lock.

#include "framework/Statistics.h"

#include <sys/stat.h>

#include <algorithm>
#include <nlohmann/json.hpp>

#include "Tally.h"
#include "framework/DatabaseFile.h"
#include "schemas/Answers.h"
#include "schemas/KnownSchemas.h"
#include "wire/Methods.h"

namespace {

using Json = nlohmann::ordered_json;

constexpr std::string_view ReasonStart = "<ReasonForMessage>";

/// Stands for all names that are in no table.
const std::string OtherName;

void keepMost(std::atomic<std::uint64_t>& most, std::uint64_t value) {
    std::uint64_t known = most.load(std::memory_order_relaxed);
    while (known < value && !most.compare_exchange_weak(known, value, std::memory_order_relaxed)) {
    }
}

template <typename Map>
auto& placeOf(Map& map, const std::string& name) {
    const auto found = map.find(name);
    return (found != map.end() ? found : map.find(OtherName))->second;
}

/// The index of the reason of @p request. A reason that is unknown, or is not written in the usual
/// form, has the index after all others.
std::size_t reasonOf(const std::string& request) {
    const auto& reasons = Methods::reasons();
    const std::size_t start = request.find(ReasonStart);
    const std::size_t begin =
        start == std::string::npos ? request.size() : start + ReasonStart.size();
    const std::string_view reason(request.data() + begin,
                                  std::min(request.find('<', begin), request.size()) - begin);
    const auto found = std::find_if(reasons.begin(), reasons.end(),
                                    [reason](const auto& each) { return each.name == reason; });
    return static_cast<std::size_t>(found - reasons.begin());
}

Json toJson(const Statistics::Calls& calls, std::uint64_t more) {
    return {{"count", calls.count + more},
            {"failures", calls.failures.load()},
            {"us", calls.time.load()},
            {"us_max", calls.longest.load()}};
}

std::uint64_t sizeOfDatabase() {
    struct stat status {};
    const bool isThere = stat(DatabaseFile::pathOfService().c_str(), &status) == 0;
    return isThere ? static_cast<std::uint64_t>(status.st_size) : 0;
}

}  // namespace

void Statistics::Calls::add(bool hasFailed, std::uint64_t microseconds) {
    count.fetch_add(1, std::memory_order_relaxed);
    failures.fetch_add(hasFailed ? 1 : 0, std::memory_order_relaxed);
    time.fetch_add(microseconds, std::memory_order_relaxed);
    keepMost(longest, microseconds);
}

Statistics::Statistics() {
    const std::size_t reasons = Methods::reasons().size() + 1;
    for (const std::string& schema : KnownSchemas::names()) {
        m_requests.emplace(schema, reasons);
    }
    m_requests.emplace(OtherName, reasons);
    for (const Methods::Row& method : Methods::all()) {
        m_methods[method.name];
    }
    m_methods[OtherName];
}

Statistics::Subject Statistics::subjectOf(const std::string& method, const std::string* request) {
    Calls* of = nullptr;
    if (request != nullptr) {
        of = &placeOf(m_requests, Answers::schemaOf(*request))[reasonOf(*request)];
    }
    return {&placeOf(m_methods, method), of};
}

void Statistics::count(const Subject& subject, bool hasFailed, Clock::time_point begin) {
    const auto time = std::chrono::duration_cast<std::chrono::microseconds>(Clock::now() - begin);
    const auto microseconds = static_cast<std::uint64_t>(time.count());
    subject.method->add(hasFailed, microseconds);
    if (subject.request != nullptr) {
        subject.request->add(hasFailed, microseconds);
    }
}

void Statistics::addClient() {
    ++m_allClients;
    keepMost(m_mostClients, ++m_clients);
}

nlohmann::ordered_json Statistics::requestsAsJson() const {
    Json requests = Json::object();
    const auto& names = Methods::reasons();
    const auto add = [&](const std::string& schema) {
        const Reasons& reasons = m_requests.at(schema);
        for (std::size_t i = 0; i < reasons.size(); ++i) {
            if (reasons[i].count > 0) {
                const std::string reason = i < names.size() ? names[i].name : OtherName;
                requests[schema][reason] = toJson(reasons[i], 0);
            }
        }
    };
    for (const std::string& schema : KnownSchemas::names()) {
        add(schema);
    }
    add(OtherName);
    return requests;
}

nlohmann::ordered_json Statistics::methodsAsJson() const {
    Json methods = Json::object();
    const auto add = [&](const std::string& name) {
        const Calls& calls = m_methods.at(name);
        const std::uint64_t asking = name == "Statistics" ? 1 : 0;
        if (calls.count + asking > 0) {
            methods[name] = toJson(calls, asking);
        }
    };
    for (const Methods::Row& method : Methods::all()) {
        add(method.name);
    }
    add(OtherName);
    return methods;
}

// The order is that of the documentation, because people read the JSON directly.
std::string Statistics::json(const Listeners& listeners) const {
    const auto age = std::chrono::duration_cast<std::chrono::seconds>(Clock::now() - m_begin);
    return Json{
        {"seconds", age.count()},
        {"requests", requestsAsJson()},
        {"methods", methodsAsJson()},
        {"refused", refused.load()},
        {"clients",
         {{"now", m_clients.load()},
          {"most", m_mostClients.load()},
          {"total", m_allClients.load()},
          {"closed", closed.load()}}},
        {"listeners",
         {{"profile", listeners.profile},
          {"status", listeners.status},
          {"log", listeners.log},
          {"changes", listeners.changes}}},
        {"bytes",
         {{"in", bytesIn.load()}, {"out", bytesOut.load()}, {"waiting", bytesWaiting.load()}}},
        {"commits", Tally::of(Tally::Commits)},
        {"statements",
         {{"hits", Tally::of(Tally::StatementHits)},
          {"misses", Tally::of(Tally::StatementMisses)}}},
        {"database_bytes", sizeOfDatabase()},
        {"upgrade",
         {{"ran", Tally::of(Tally::UpgradeChanges) > 0},
          {"ms", Tally::of(Tally::UpgradeTime)},
          {"failures", Tally::of(Tally::UpgradeFailures)}}}}
        .dump();
}
