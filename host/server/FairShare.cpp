#include "server/FairShare.h"

#include <algorithm>
#include <ctime>
#include <utility>

namespace {

using std::chrono::milliseconds;
using Lock = std::lock_guard<std::mutex>;

/// Cheaper messages do not count: they are what clients send all the time.
constexpr milliseconds CostlyMessage{2};
/// What a process may use in advance.
constexpr milliseconds Allowance{100};
/// The time in which a process may use the processor for one part of it, and the pause after it.
constexpr int TimesForgiven = 4;
constexpr int PauseTimes = TimesForgiven - 1;
/// A process that has sent nothing for so long needs nothing to be kept free.
constexpr milliseconds ActiveTime{500};
constexpr std::size_t MostIdleProcesses = 1000;
/// On a busy machine a message takes longer than its processor time; what is beyond this is a wait.
constexpr int MostSlowness = 4;

std::chrono::nanoseconds processorTime() {
    timespec time{};
    (void)clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
    return std::chrono::seconds(time.tv_sec) + std::chrono::nanoseconds(time.tv_nsec);
}

}  // namespace

FairShare::InUse::InUse(FairShare& share, Turn& turn)
    : m_share(share), m_turn(turn), m_begun(Clock::now()), m_used(processorTime()) {}

FairShare::InUse::~InUse() {
    m_share.end(m_turn,
                std::min<std::chrono::nanoseconds>(Clock::now() - m_begun,
                                                   MostSlowness * (processorTime() - m_used)));
}

bool FairShare::begin(pid_t process, Turn& turn, std::function<void()> again) {
    const Lock lock(m_mutex);
    const auto now = Clock::now();
    noteActivity(process, now);
    const bool isInLane = useOf(process, now) > Allowance && !isAlone(process, now);
    if (isInLane && m_isLaneTaken) {
        m_waiting.push_back(std::move(again));
        return false;
    }
    m_isLaneTaken = m_isLaneTaken || isInLane;
    turn = {process, isInLane};
    return true;
}

void FairShare::end(Turn& turn, std::chrono::nanoseconds cost) {
    bool isFree = false;
    {
        const Lock lock(m_mutex);
        const auto now = Clock::now();
        if (cost > CostlyMessage) {
            forgetIdle(now);
            m_uses[turn.process] = {useOf(turn.process, now) + cost, now};
        }
        isFree = std::exchange(turn.isInLane, false);
        if (isFree && cost.count() > 0) {
            isFree = false;
            m_pause.expires_after(PauseTimes * cost);
            m_pause.async_wait([this](const boost::system::error_code&) { freeLane(); });
        }
    }
    if (isFree) {
        freeLane();
    }
}

/// All are called: the first one may not need the lane any more.
void FairShare::freeLane() {
    Waiting waiting;
    {
        const Lock lock(m_mutex);
        m_isLaneTaken = false;
        waiting.swap(m_waiting);
    }
    for (const auto& again : waiting) {
        again();
    }
}

std::chrono::nanoseconds FairShare::useOf(pid_t process, Clock::time_point now) const {
    const auto found = m_uses.find(process);
    return found == m_uses.end()
               ? std::chrono::nanoseconds(0)
               : std::max<std::chrono::nanoseconds>(
                     found->second.cost - (now - found->second.time) / TimesForgiven,
                     std::chrono::nanoseconds(0));
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
    if (m_uses.size() <= MostIdleProcesses) {
        return;
    }
    for (auto each = m_uses.begin(); each != m_uses.end();) {
        each = useOf(each->first, now).count() == 0 ? m_uses.erase(each) : std::next(each);
    }
}

void FairShare::clear() {
    Waiting waiting;  // before the lock, so that it goes after it
    const Lock lock(m_mutex);
    m_pause.cancel();
    waiting.swap(m_waiting);
}
