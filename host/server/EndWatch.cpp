// Signals are blocked in all threads, and one thread waits for them. A signal handler could call
// hardly any function safely, but this thread may take locks and measure time. The two times
// together are less than the five seconds that the header promises.

#include "server/EndWatch.h"

#include <poll.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <cstdint>
#include <string_view>
#include <system_error>

#include "Work.h"
#include "terminal/ExitStatus.h"

namespace {

using std::chrono::milliseconds;
using Lock = std::unique_lock<std::mutex>;

constexpr milliseconds TimeOfWork{4000};
constexpr milliseconds TimeAfterInterruption{700};
/// The thread calls few functions, and a host may have little memory.
constexpr std::size_t StackSize = std::size_t{128} * 1024;

/// Does not use the log, because the log may be what hangs.
void endAtOnce() {
    constexpr std::string_view words =
        "das: the end took too long: what is in work is cut off, and rolled back by the next "
        "start\n";
    pollfd error{STDERR_FILENO, POLLOUT, 0};
    if (poll(&error, 1, 0) > 0) {
        (void)!write(STDERR_FILENO, words.data(), words.size());
    }
    _exit(ExitFailure);
}

void makeReadable(int descriptor) {
    const std::uint64_t one = 1;
    (void)!write(descriptor, &one, sizeof one);
}

}  // namespace

EndWatch::EndWatch() {
    sigemptyset(&m_signals);
    sigaddset(&m_signals, SIGTERM);
    sigaddset(&m_signals, SIGINT);
    pthread_sigmask(SIG_BLOCK, &m_signals, nullptr);
    pthread_attr_t attributes{};
    pthread_attr_init(&attributes);
    pthread_attr_setstacksize(&attributes, StackSize);
    const int code = pthread_create(&m_thread, &attributes, run, this);
    pthread_attr_destroy(&attributes);
    if (code != 0) {
        throw std::system_error(code, std::generic_category(), "no thread for signals");
    }
}

EndWatch::~EndWatch() {
    {
        const Lock lock(m_mutex);
        m_isOver = true;
    }
    m_changed.notify_all();
    pthread_kill(m_thread, SIGTERM);  // wakes the thread if it waits for a signal
    pthread_join(m_thread, nullptr);
    if (m_descriptor >= 0) {
        close(m_descriptor);
    }
}

void* EndWatch::run(void* self) {
    static_cast<EndWatch*>(self)->watch();
    return nullptr;
}

void EndWatch::watch() {
    int signal = 0;
    (void)sigwait(&m_signals, &signal);
    if (isOverWithin(milliseconds{0})) {
        return;
    }
    Work::set(Work::State::Ends);
    ask();
    if (isOverWithin(TimeOfWork)) {
        return;
    }
    Work::set(Work::State::IsInterrupted);
    if (!isOverWithin(TimeAfterInterruption)) {
        endAtOnce();
    }
}

void EndWatch::ask() {
    const Lock lock(m_mutex);
    m_isAsked = true;
    m_changed.notify_all();
    if (m_descriptor >= 0) {
        makeReadable(m_descriptor);
    }
}

bool EndWatch::isOverWithin(milliseconds time) {
    Lock lock(m_mutex);
    return m_changed.wait_for(lock, time, [this] { return m_isOver; });
}

void EndWatch::wait() {
    Lock lock(m_mutex);
    m_changed.wait(lock, [this] { return m_isAsked; });
}

bool EndWatch::isAsked() {
    const Lock lock(m_mutex);
    return m_isAsked;
}

int EndWatch::descriptor() {
    const Lock lock(m_mutex);
    if (m_descriptor < 0) {
        m_descriptor = eventfd(m_isAsked ? 1 : 0, EFD_CLOEXEC);
    }
    return m_descriptor;
}
