#include "server/FairShare.h"

#include <algorithm>
#include <utility>

namespace {

using std::chrono::milliseconds;
using Lock = std::unique_lock<std::mutex>;

/// What a message may cost before its process counts as costly.
constexpr milliseconds CostlyMessage{10};
/// How long it does: this long at least, and a multiple of what the message cost.
constexpr milliseconds CostlyTime{1000};
constexpr int CostlyTimes = 20;
constexpr int PauseTimes = 3;
/// A process that has sent nothing for so long needs nothing to be kept free.
constexpr milliseconds ActiveTime{500};
constexpr std::size_t MostIdleProcesses = 1000;

}  // namespace

FairShare::FairShare(boost::asio::io_context& io, unsigned threads)
    : m_mostOfProcess(std::max(threads, 2U) - 1), m_pause(io) {}

bool FairShare::begin(pid_t process, Turn& turn, std::function<void()> again) {
    const Lock lock(m_mutex);
    const auto now = Clock::now();
    forgetIdle(now);
    Process& own = m_processes[process];
    if (own.inWork >= m_mostOfProcess) {
        own.waiting.push_back(std::move(again));
        return false;
    }
    const bool isCostly = now < own.costlyUntil && !isAlone(process, now);
    if (isCostly && m_isLaneTaken) {
        m_waitingForLane.push_back(std::move(again));
        return false;
    }
    m_isLaneTaken = m_isLaneTaken || isCostly;
    turn = {process, isCostly};
    ++own.inWork;
    noteActivity(process, now);
    return true;
}

void FairShare::end(const Turn& turn, std::chrono::nanoseconds cost) {
    Lock lock(m_mutex);
    const auto now = Clock::now();
    Process& own = m_processes[turn.process];
    --own.inWork;
    if (cost > CostlyMessage) {
        own.costlyUntil = now + std::max<std::chrono::nanoseconds>(CostlyTime, CostlyTimes * cost);
    }
    if (turn.isInLane && !isAlone(turn.process, now)) {
        m_pause.expires_after(PauseTimes * cost);
        m_pause.async_wait([this](const boost::system::error_code&) { freeLane(); });
    }
    const bool isFree = turn.isInLane && isAlone(turn.process, now);
    callFirst(own.waiting, lock);
    lock.unlock();
    if (isFree) {
        freeLane();
    }
}

void FairShare::freeLane() {
    Lock lock(m_mutex);
    m_isLaneTaken = false;
    callFirst(m_waitingForLane, lock);
}

/// The mutex is free during the call, and taken again.
void FairShare::callFirst(Waiting& waiting, Lock& lock) {
    if (!waiting.empty()) {
        const std::function<void()> first = std::move(waiting.front());
        waiting.pop_front();
        lock.unlock();
        first();
        lock.lock();
    }
}

bool FairShare::isAlone(pid_t process, Clock::time_point now) const {
    return now - (m_last == process ? m_timeOfAnother : m_lastTime) > ActiveTime;
}

void FairShare::noteActivity(pid_t process, Clock::time_point now) {
    if (process != m_last) {
        m_timeOfAnother = m_lastTime;
        m_last = process;
    }
    m_lastTime = now;
}

/// A process is kept when it has left, so that it can't come back as another.
void FairShare::forgetIdle(Clock::time_point now) {
    if (m_processes.size() <= MostIdleProcesses) {
        return;
    }
    for (auto each = m_processes.begin(); each != m_processes.end();) {
        const Process& own = each->second;
        const bool isIdle = own.inWork == 0 && own.waiting.empty() && own.costlyUntil < now;
        each = isIdle ? m_processes.erase(each) : std::next(each);
    }
}

void FairShare::clear() {
    std::deque<Waiting> waiting;  // before the lock, so that it goes after it
    const Lock lock(m_mutex);
    m_pause.cancel();
    waiting.push_back(std::exchange(m_waitingForLane, {}));
    for (auto& [process, own] : m_processes) {
        waiting.push_back(std::exchange(own.waiting, {}));
    }
}
