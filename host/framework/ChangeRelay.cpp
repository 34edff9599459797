// The service reports changes while it holds its own locks, and takes the same locks when a
// listener is added or removed. changed() takes m_mutex, so the source must be called without
// m_mutex. m_startMutex puts those calls in order.

#include "framework/ChangeRelay.h"

#include <algorithm>
#include <exception>
#include <functional>
#include <iterator>
#include <map>
#include <set>
#include <utility>

#include "Log.h"
#include "framework/Client.h"
#include "schemas/KnownSchemas.h"

namespace {

using std::chrono::milliseconds;

/// How long changes are collected after a sending. It depends on the cost of that sending, so that
/// the thread that writes to the database gets most of the time, but a change must not be late.
constexpr auto GatherTimeForEach = std::chrono::microseconds(150);
constexpr auto LeastGatherTime = std::chrono::microseconds(200);
constexpr auto LongestGatherTime = std::chrono::microseconds(10000);
/// At most this much is collected for one audience: half of what may always wait for a client, so
/// that a client that reads misses nothing.
constexpr std::size_t MostGathered = std::size_t{4} * 1024;
/// At most this much may wait for the thread in all views. It is reached only if the thread gets no
/// processor.
constexpr std::size_t MostWaiting = std::size_t{8} * 1024 * 1024;
constexpr auto TimeBetweenLooks = milliseconds(1000);
constexpr auto TimeToNextTry = milliseconds(200);

/// Stands for names that no schema has: only a change with a blank schema is sent for them.
constexpr std::string_view UnknownSchema;

/// These schemas show one table.
const std::set<std::string> CallSchemas = {"CallLog",
                                           "CallLogAndPhoneBook",
                                           "CallLogDialledCalls",
                                           "CallLogForwardedCalls",
                                           "CallLogMissedCalls",
                                           "CallLogReceivedCalls"};

std::string_view withoutBlanks(std::string_view text) {
    const std::size_t begin = std::min(text.find_first_not_of(" \t"), text.size());
    return text.substr(begin, text.find_last_not_of(" \t") + 1 - begin);
}

/// The line of one change, built once for each protocol.
class Lines {
public:
    explicit Lines(const DASChange& change) : m_change(change) {}

    const std::string& in(ProtocolAdapter& adapter) {
        std::string& line = m_lines[&adapter];
        if (line.empty()) {
            line = lineOfChange(m_change, adapter);
        }
        return line;
    }

private:
    const DASChange& m_change;
    std::map<ProtocolAdapter*, std::string> m_lines;
};

}  // namespace

ChangeRelay::~ChangeRelay() {
    end();
}

void ChangeRelay::add(const std::shared_ptr<Client>& client, ProtocolAdapter& adapter,
                      const std::string& schemas, DASChangeSourceIfc& source) {
    const std::lock_guard<std::mutex> start(m_startMutex);
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        ChangeView::Asked asked = remove(client);
        asked[&adapter] = namesOf(schemas);
        auto audience =
            std::find_if(m_audiences.begin(), m_audiences.end(),
                         [&](const Audience& each) { return each.view->asked() == asked; });
        if (audience == m_audiences.end()) {
            m_audiences.push_back({std::make_shared<ChangeView>(std::move(asked)), {}});
            audience = std::prev(m_audiences.end());
        }
        audience->clients.push_back(client);
        client->hearChanges(audience->view);
        if (m_isEnding) {
            return;
        }
    }
    if (m_source == nullptr) {
        if (m_thread.joinable()) {
            m_thread.join();  // it has stopped, or is about to stop
        }
        // If this fails, no changes are sent.
        m_thread = std::thread([this, &source] { work(source); });
        m_source = &source;
        source.addChangeListener(this);
    }
}

ChangeView::Asked ChangeRelay::remove(const std::shared_ptr<Client>& client) {
    ChangeView::Asked asked;
    for (Audience& audience : m_audiences) {
        auto& clients = audience.clients;
        const auto found =
            std::find_if(clients.begin(), clients.end(),
                         [&](const auto& each) { return isSame(each, client); });
        if (found != clients.end()) {
            asked = audience.view->asked();
            clients.erase(found);
        }
    }
    removeEmptyAudiences();
    return asked;
}

std::size_t ChangeRelay::listeners() {
    const std::lock_guard<std::mutex> lock(m_mutex);
    std::ptrdiff_t count = 0;
    for (const Audience& audience : m_audiences) {
        count += std::count_if(audience.clients.begin(), audience.clients.end(),
                               [](const auto& each) { return !each.expired(); });
    }
    return static_cast<std::size_t>(count);
}

void ChangeRelay::end() {
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_isEnding = true;
    }
    m_wake.notify_all();
    std::thread thread;
    {
        const std::lock_guard<std::mutex> start(m_startMutex);
        thread = std::move(m_thread);
    }
    // Without the lock, because the thread may need it to stop.
    if (thread.joinable()) {
        thread.join();
    }
    const std::lock_guard<std::mutex> start(m_startMutex);
    if (m_source != nullptr) {
        m_source->removeChangeListener(this);
        m_source = nullptr;
    }
}

/// However long the list is, at most one name for each schema is stored.
ChangeView::Names ChangeRelay::namesOf(std::string_view list) {
    static const auto known = [] {
        const std::vector<std::string> all = KnownSchemas::names();
        return std::set<std::string, std::less<>>(all.begin(), all.end());
    }();
    ChangeView::Names names;
    while (!list.empty()) {
        const std::size_t end = std::min(list.find(','), list.size());
        const std::string_view name = withoutBlanks(list.substr(0, end));
        list.remove_prefix(std::min(end + 1, list.size()));
        if (!name.empty()) {
            names.emplace(known.count(name) > 0 ? name : UnknownSchema);
        }
    }
    return names;
}

bool ChangeRelay::hears(const ChangeView::Names& names, const std::string& schema) {
    if (schema.empty() || names.empty() || names.count(schema) > 0) {
        return true;
    }
    return CallSchemas.count(schema) > 0 &&
           std::any_of(CallSchemas.begin(), CallSchemas.end(),
                       [&](const std::string& each) { return names.count(each) > 0; });
}

void ChangeRelay::changed(const DASChange& change) {
    bool mustWake = false;
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        const bool hadMuch = m_hasMuch;
        try {
            addToViews(change);
        } catch (const std::exception&) {
            // There is no memory: clients must at least learn that they missed something.
            dropWaiting();
        }
        if (m_waiting > MostWaiting) {
            dropWaiting();
        }
        mustWake = (m_hasNew && std::exchange(m_isIdle, false)) || (m_hasMuch && !hadMuch);
    }
    if (mustWake) {
        m_wake.notify_one();
    }
}

void ChangeRelay::addToViews(const DASChange& change) {
    Lines lines(change);
    for (Audience& audience : m_audiences) {
        for (const auto& [adapter, names] : audience.view->asked()) {
            if (hears(names, change.schema)) {
                const std::string& line = lines.in(*adapter);
                audience.view->add(line);
                audience.gathered += line.size();
                m_waiting += line.size();
                m_hasMuch = m_hasMuch || audience.gathered > MostGathered;
                audience.hasNew = true;
                m_hasNew = true;
            }
        }
    }
}

void ChangeRelay::dropWaiting() {
    for (Audience& audience : m_audiences) {
        audience.view->drop();
        audience.hasNew = true;
    }
    m_hasNew = true;
    m_waiting = 0;
}

void ChangeRelay::work(DASChangeSourceIfc& source) {
    auto nextSending = Clock::now();
    auto nextLook = nextSending + TimeBetweenLooks;
    while (wait(nextSending, nextLook)) {
        const auto now = Clock::now();
        if (const int clients = send()) {
            nextSending = now + std::clamp(clients * GatherTimeForEach, LeastGatherTime,
                                           LongestGatherTime);
        }
        if (now >= nextLook) {
            if (stopWithoutListeners()) {
                return;
            }
            nextLook = now + (source.lookForOthers() ? TimeBetweenLooks : TimeToNextTry);
        }
    }
}

/// Before @p from a change wakes the thread only if there are many of them.
bool ChangeRelay::wait(Clock::time_point from, Clock::time_point to) {
    std::unique_lock<std::mutex> lock(m_mutex);
    m_wake.wait_until(lock, from, [this] { return m_isEnding || m_hasMuch; });
    m_isIdle = !m_hasNew;
    m_wake.wait_until(lock, to, [this] { return m_isEnding || m_hasNew; });
    m_isIdle = false;
    return !m_isEnding;
}

int ChangeRelay::send() {
    int clients = 0;
    try {
        for (const Sending& sending : takeSendings()) {
            clients += static_cast<int>(sending.clients.size());
            if (send(sending)) {
                sending.view->forget(sending.end);
            } else {
                const std::lock_guard<std::mutex> lock(m_mutex);
                for (Audience& audience : m_audiences) {
                    audience.hasNew = audience.hasNew || audience.view == sending.view;
                }
                m_hasNew = true;
            }
        }
    } catch (const std::exception&) {
        ++clients;  // there is no memory: the changes are sent next time
    }
    return clients;
}

std::vector<ChangeRelay::Sending> ChangeRelay::takeSendings() {
    // Must outlive the lock, because it may hold the last reference to a client.
    std::vector<Sending> sendings;
    const std::lock_guard<std::mutex> lock(m_mutex);
    if (!m_hasNew) {
        return sendings;
    }
    for (const Audience& audience : m_audiences) {
        if (audience.hasNew) {
            Sending& sending = sendings.emplace_back();
            sending.view = audience.view;
            sending.end = audience.view->end();
            for (const auto& client : audience.clients) {
                sending.clients.push_back(client.lock());
            }
        }
    }
    for (Audience& audience : m_audiences) {
        audience.hasNew = false;
        audience.gathered = 0;
    }
    m_hasNew = false;
    m_hasMuch = false;
    m_waiting = 0;
    return sendings;
}

/// False if not all could be sent to a client: it keeps its position in the view.
bool ChangeRelay::send(const Sending& sending) {
    bool isDone = true;
    for (const auto& client : sending.clients) {
        try {
            if (client != nullptr) {
                client->sendChanges();
            }
        } catch (const std::exception& failure) {
            logAppUni("das", "./host/ChangeRelay", 2, __LINE__, "Changes wait for client %s: %s",
                      client->name().c_str(), failure.what());
            isDone = false;
        }
    }
    return isDone;
}

/// Checks twice, because a listener may be added between the first check and the lock.
bool ChangeRelay::stopWithoutListeners() {
    if (hasListeners()) {
        return false;
    }
    const std::lock_guard<std::mutex> start(m_startMutex);
    if (hasListeners()) {
        return false;
    }
    m_source->removeChangeListener(this);
    m_source = nullptr;
    return true;
}

bool ChangeRelay::hasListeners() {
    const std::lock_guard<std::mutex> lock(m_mutex);
    for (Audience& audience : m_audiences) {
        auto& clients = audience.clients;
        clients.erase(std::remove_if(clients.begin(), clients.end(),
                                     [](const auto& each) { return each.expired(); }),
                      clients.end());
    }
    removeEmptyAudiences();
    return !m_audiences.empty();
}

void ChangeRelay::removeEmptyAudiences() {
    m_audiences.erase(std::remove_if(m_audiences.begin(), m_audiences.end(),
                                     [](const auto& each) { return each.clients.empty(); }),
                      m_audiences.end());
}
