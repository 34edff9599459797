// The relay becomes the log's sink at the first listener, not before. So without a listener, an
// entry costs no more than without this object.

#include "framework/LogRelay.h"

#include <algorithm>
#include <exception>
#include <utility>

#include "Method.h"
#include "framework/Client.h"
#include "framework/FailureWords.h"

namespace {

constexpr std::size_t MostWaiting = 4 * 1024 * 1024;  // bytes
constexpr std::size_t SizeOfEntry = 256;              // without its message

thread_local FailureWords* s_wordsOfThread = nullptr;

Method methodFor(const Log::Entry& entry) {
    Method method("Log");
    method.addIntParameter("level", entry.level, Parameter::out);
    method.addStringParameter("component", entry.component, Parameter::out);
    method.addStringParameter("source", entry.source, Parameter::out);
    method.addIntParameter("line", entry.line, Parameter::out);
    method.addStringParameter("message", entry.message, Parameter::out);
    return method;
}

}  // namespace

LogRelay::~LogRelay() {
    if (!m_thread.joinable()) {
        return;
    }
    Log::setSink({});
    Log::setLevel(m_ownLevel);
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_isEnding = true;
    }
    m_changed.notify_one();
    m_thread.join();
}

void LogRelay::add(const std::shared_ptr<Client>& client, ProtocolAdapter& adapter, int level) {
    startOnce();
    const std::lock_guard<std::mutex> lock(m_mutex);
    // A client has one level, that of its last call.
    m_listeners.erase(std::remove_if(m_listeners.begin(), m_listeners.end(),
                                     [&](const auto& each) { return isSame(each.client, client); }),
                      m_listeners.end());
    m_listeners.push_back({client, &adapter, level});
    settleLevel();
}

std::size_t LogRelay::listeners() {
    const std::lock_guard<std::mutex> lock(m_mutex);
    return static_cast<std::size_t>(
        std::count_if(m_listeners.begin(), m_listeners.end(),
                      [](const auto& each) { return !each.client.expired(); }));
}

void LogRelay::hearFailures() {
    startOnce();
    m_hearsFailures = true;
    const std::lock_guard<std::mutex> lock(m_mutex);
    settleLevel();
}

LogRelay::Hearing::Hearing(FailureWords& words) {
    s_wordsOfThread = &words;
}

LogRelay::Hearing::~Hearing() {
    s_wordsOfThread = nullptr;
}

// Not under the mutex of the listeners: a thread that logs holds the log's own lock when it takes
// that mutex.
void LogRelay::startOnce() {
    const std::lock_guard<std::mutex> lock(m_startMutex);
    if (m_thread.joinable()) {
        return;
    }
    m_ownLevel = Log::level();
    m_thread = std::thread([this] { work(); });  // if this fails, no log is sent
    Log::setSink([this](const Log::Entry& entry) { hear(entry); });
}

void LogRelay::hear(const Log::Entry& entry) {
    if (entry.level <= m_ownLevel) {
        Log::write(entry);
    }
    if (s_wordsOfThread != nullptr) {
        s_wordsOfThread->add(entry);
    }
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        if (m_listeners.empty()) {
            return;
        }
        if (m_waitingSize < MostWaiting) {
            m_waiting.push_back(entry);
            m_waitingSize += SizeOfEntry + entry.message.size();
        }
    }
    m_changed.notify_one();
}

void LogRelay::work() {
    std::unique_lock<std::mutex> lock(m_mutex);
    while (!m_isEnding) {
        m_changed.wait(lock, [this] { return m_isEnding || !m_waiting.empty(); });
        while (!m_waiting.empty()) {
            sendNext(lock);
        }
        settleLevel();
    }
}

/// The mutex is released while lines are sent to clients.
void LogRelay::sendNext(std::unique_lock<std::mutex>& lock) {
    // The size is subtracted before the entry is sent: from then on the entry waits for its client,
    // not here.
    const Log::Entry entry = std::move(m_waiting.front());
    m_waiting.pop_front();
    m_waitingSize -= SizeOfEntry + entry.message.size();
    try {
        const auto listeners = m_listeners;
        lock.unlock();
        const Method method = methodFor(entry);
        for (const Listener& listener : listeners) {
            const auto client = listener.client.lock();
            if (client != nullptr && entry.level <= listener.level) {
                client->sendLine(lineOf(method, *listener.adapter));
            }
        }
    } catch (const std::exception&) {
        // Without memory the entry is dropped, as if too many were waiting.
    }
    if (!lock.owns_lock()) {
        lock.lock();
    }
}

void LogRelay::settleLevel() {
    m_listeners.erase(std::remove_if(m_listeners.begin(), m_listeners.end(),
                                     [](const auto& each) { return each.client.expired(); }),
                      m_listeners.end());
    int level = m_hearsFailures ? std::max(m_ownLevel, FailureWords::HighestLevel) : m_ownLevel;
    for (const Listener& listener : m_listeners) {
        level = std::max(level, listener.level);
    }
    Log::setLevel(level);
}
