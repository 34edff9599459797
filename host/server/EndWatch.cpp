#include "server/EndWatch.h"

#include <poll.h>
#include <sys/eventfd.h>
#include <sys/signalfd.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <string_view>
#include <system_error>

#include "Work.h"
#include "terminal/ExitStatus.h"

namespace {

constexpr int TimeOfWork = 4000;  // in milliseconds
constexpr int TimeOfEnd = 700;    // from the interruption on
constexpr int Forever = -1;
/// It calls little, and a host may have little memory.
constexpr std::size_t StackSize = std::size_t{128} * 1024;

void require(bool holds, int code) {
    if (!holds) {
        throw std::system_error(code, std::generic_category(), "no watch for signals");
    }
}

/// Whether one of the two becomes readable in that time; a negative descriptor never does.
bool isReadable(int first, int second, int milliseconds) {
    pollfd waiting[] = {{first, POLLIN, 0}, {second, POLLIN, 0}};
    int count = 0;
    while ((count = poll(waiting, 2, milliseconds)) < 0 && errno == EINTR) {
    }
    return count > 0;
}

void notify(int event) {
    const std::uint64_t one = 1;
    (void)!write(event, &one, sizeof one);
}

/// Not by the log, which may be what does not come to its end.
void endAtOnce() {
    constexpr std::string_view words =
        "das: the end took too long: what is in work is cut off, and rolled back by the next start\n";
    pollfd error{STDERR_FILENO, POLLOUT, 0};
    if (poll(&error, 1, 0) > 0) {
        (void)!write(STDERR_FILENO, words.data(), words.size());
    }
    _exit(ExitFailure);
}

}  // namespace

EndWatch::EndWatch() {
    sigemptyset(&m_signals);
    sigaddset(&m_signals, SIGTERM);
    sigaddset(&m_signals, SIGINT);
    pthread_sigmask(SIG_BLOCK, &m_signals, nullptr);
    m_signal = signalfd(-1, &m_signals, SFD_CLOEXEC);
    m_asked = eventfd(0, EFD_CLOEXEC);
    m_over = eventfd(0, EFD_CLOEXEC);
    require(m_signal >= 0 && m_asked >= 0 && m_over >= 0, errno);
    pthread_attr_t attributes{};
    pthread_attr_init(&attributes);
    pthread_attr_setstacksize(&attributes, StackSize);
    const int code = pthread_create(&m_thread, &attributes, run, this);
    pthread_attr_destroy(&attributes);
    require(code == 0, code);
}

EndWatch::~EndWatch() {
    notify(m_over);
    pthread_join(m_thread, nullptr);
    for (const int descriptor : {m_signal, m_asked, m_over}) {
        close(descriptor);
    }
}

void* EndWatch::run(void* self) {
    static_cast<const EndWatch*>(self)->watch();
    return nullptr;
}

void EndWatch::watch() const {
    (void)isReadable(m_signal, m_over, Forever);
    if (isOverWithin(0)) {
        return;
    }
    Work::set(Work::State::Ends);
    notify(m_asked);
    if (isOverWithin(TimeOfWork)) {
        return;
    }
    Work::set(Work::State::IsInterrupted);
    if (!isOverWithin(TimeOfEnd)) {
        endAtOnce();
    }
}

bool EndWatch::isOverWithin(int milliseconds) const {
    return isReadable(m_over, -1, milliseconds);
}

void EndWatch::wait() const {
    (void)isReadable(m_asked, -1, Forever);
}

bool EndWatch::isAsked() const {
    return isReadable(m_asked, -1, 0);
}
