#include "server/FairShare.h"

#include <algorithm>
#include <ctime>
#include <utility>

namespace {

using std::chrono::milliseconds;
using Lock = std::lock_guard<std::mutex>;

/// Cheaper messages do not count, since clients send them all the time.
constexpr milliseconds CostlyMessage{2};
/// What a process may use in advance.
constexpr milliseconds Allowance{100};
/// Use is forgiven after this many times its length: a process gets one part in so many.
constexpr int TimesForgiven = 4;
constexpr int PauseTimes = TimesForgiven - 1;
/// For a process that was idle for this long, no time is kept free.
constexpr milliseconds ActiveTime{500};
constexpr std::size_t MostIdleProcesses = 1000;
/// On a busy machine, a message takes longer than its processor time. Anything beyond this factor
/// is time spent waiting.
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

/// All are called, because the first one may not need the lane any more.
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

/// A process is remembered for a while after it has disconnected, so that it can't reconnect with a
/// fresh account.
void FairShare::forgetIdle(Clock::time_point now) {
    if (m_uses.size() <= MostIdleProcesses) {
        return;
    }
    for (auto each = m_uses.begin(); each != m_uses.end();) {
        each = useOf(each->first, now).count() == 0 ? m_uses.erase(each) : std::next(each);
    }
}

void FairShare::clear() {
    Waiting waiting;  // declared before the lock, so that it is destroyed after it
    const Lock lock(m_mutex);
    m_pause.cancel();
    waiting.swap(m_waiting);
}
