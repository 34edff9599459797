// The service reports changes with its own locks held, and takes them when a listener is added or
// removed. So the source is called without m_mutex, which changed() takes; m_startMutex orders
// those calls.

#include "framework/ChangeRelay.h"

#include <algorithm>
#include <map>
#include <utility>

#include "ClientUtils.h"
#include "Log.h"
#include "Method.h"
#include "framework/Client.h"

namespace {

using std::chrono::milliseconds;

constexpr auto TimeBetweenLooks = milliseconds(1000);
constexpr auto TimeToNextTry = milliseconds(200);

/// They show one table.
const std::set<std::string> CallSchemas = {"CallLog",
                                           "CallLogAndPhoneBook",
                                           "CallLogDialledCalls",
                                           "CallLogForwardedCalls",
                                           "CallLogMissedCalls",
                                           "CallLogReceivedCalls"};

std::string lineOfChange(const DASChange& change, ProtocolAdapter& adapter) {
    Method method("Changed");
    method.addStringParameter("Schema", change.schema, Parameter::out);
    method.addStringParameter("Context", change.context, Parameter::out);
    method.addStringParameter("Reason", change.reason, Parameter::out);
    method.addStringParameter("Id", change.id, Parameter::out);
    return lineOf(method, adapter);
}

/// What is sent of one change: the line and the one that stands for several, by protocol.
class Lines {
public:
    explicit Lines(const DASChange& change) : m_change(change) {}

    void send(Client& client, ProtocolAdapter& adapter) {
        auto found = m_lines.find(&adapter);
        if (found == m_lines.end()) {
            found = m_lines
                        .emplace(&adapter,
                                 Pair{lineOfChange(m_change, adapter), lineOfChange({}, adapter)})
                        .first;
        }
        client.sendChange(found->second.line, found->second.standIn);
    }

private:
    struct Pair {
        std::string line;
        std::string standIn;
    };

    const DASChange& m_change;
    std::map<ProtocolAdapter*, Pair> m_lines;
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
        const auto isReplaced = [&](const Listener& each) {
            return each.client.expired() ||
                   (each.adapter == &adapter && isSame(each.client, client));
        };
        m_listeners.erase(std::remove_if(m_listeners.begin(), m_listeners.end(), isReplaced),
                          m_listeners.end());
        m_listeners.push_back({client, &adapter, namesOf(schemas)});
        if (m_isEnding) {
            return;
        }
    }
    if (m_source == nullptr) {
        if (m_thread.joinable()) {
            m_thread.join();  // it has stopped, or is about to
        }
        m_thread = std::thread([this, &source] { work(source); });  // may fail: no changes then
        m_source = &source;
        source.addChangeListener(this);
    }
}

std::size_t ChangeRelay::listeners() {
    std::set<std::shared_ptr<Client>> clients;  // outlives the lock: each may be the last holder
    const std::lock_guard<std::mutex> lock(m_mutex);
    for (const Listener& each : m_listeners) {
        clients.insert(each.client.lock());
    }
    clients.erase(nullptr);
    return clients.size();
}

void ChangeRelay::end() {
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_isEnding = true;
    }
    m_ended.notify_all();
    std::thread thread;
    {
        const std::lock_guard<std::mutex> start(m_startMutex);
        thread = std::move(m_thread);
    }
    // Without the lock: the thread may need it to stop.
    if (thread.joinable()) {
        thread.join();
    }
    const std::lock_guard<std::mutex> start(m_startMutex);
    if (m_source != nullptr) {
        m_source->removeChangeListener(this);
        m_source = nullptr;
    }
}

ChangeRelay::Names ChangeRelay::namesOf(const std::string& list) {
    const auto names = ClientUtils::tokenizeString(list, ",", false, true);
    return {names.begin(), names.end()};
}

bool ChangeRelay::hears(const Listener& listener, const std::string& schema) {
    const Names& asked = listener.schemas;
    if (schema.empty() || asked.empty() || asked.count(schema) > 0) {
        return true;
    }
    return CallSchemas.count(schema) > 0 &&
           std::any_of(CallSchemas.begin(), CallSchemas.end(),
                       [&](const std::string& each) { return asked.count(each) > 0; });
}

void ChangeRelay::changed(const DASChange& change) {
    std::vector<std::shared_ptr<Client>> clients;  // outlives the lock: each may be the last holder
    const std::lock_guard<std::mutex> lock(m_mutex);
    if (m_isEnding) {
        return;
    }
    Lines lines(change);
    for (const Listener& listener : m_listeners) {
        if (!hears(listener, change.schema)) {
            continue;
        }
        const auto& client = clients.emplace_back(listener.client.lock());
        if (client != nullptr) {
            lines.send(*client, *listener.adapter);
        }
    }
}

/// Runs as long as there are listeners.
void ChangeRelay::work(DASChangeSourceIfc& source) {
    auto pause = TimeBetweenLooks;
    while (wait(pause) && !stopWithoutListeners()) {
        pause = source.lookForOthers() ? TimeBetweenLooks : TimeToNextTry;
    }
}

/// False when the end has come.
bool ChangeRelay::wait(milliseconds time) {
    std::unique_lock<std::mutex> lock(m_mutex);
    return !m_ended.wait_for(lock, time, [this] { return m_isEnding; });
}

/// Looks twice: a listener may be added between the first look and the lock that adding takes.
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
    m_listeners.erase(std::remove_if(m_listeners.begin(), m_listeners.end(),
                                     [](const auto& each) { return each.client.expired(); }),
                      m_listeners.end());
    return !m_listeners.empty();
}
