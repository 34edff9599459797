// A few threads serve any number of clients. The limits here are for resources that all clients
// share: descriptors, of which the database needs some for its journals, and memory, because the
// allocator would keep what a large message has once used.

#include "server/SocketServer.h"

#include <malloc.h>
#include <sys/resource.h>

#include <algorithm>
#include <boost/asio/io_context.hpp>
#include <boost/asio/local/stream_protocol.hpp>
#include <boost/asio/steady_timer.hpp>
#include <chrono>
#include <condition_variable>
#include <exception>
#include <mutex>
#include <string>
#include <system_error>
#include <thread>
#include <utility>
#include <vector>

#include "Log.h"
#include "framework/Client.h"
#include "framework/Dispatcher.h"
#include "server/ClientSession.h"
#include "server/ServerLoad.h"

namespace asio = boost::asio;
using Protocol = asio::local::stream_protocol;
using boost::system::error_code;
using Lock = std::lock_guard<std::mutex>;

namespace {

constexpr const char* LogSource = "./host/SocketServer";

/// How long the end waits for current messages and for answers to be read, and how long for the
/// latter alone.
constexpr auto EndTime = std::chrono::milliseconds(4300);
constexpr auto UnreadTime = std::chrono::seconds(2);
constexpr auto TimeBetweenLooks = std::chrono::milliseconds(20);
constexpr auto AcceptPause = std::chrono::milliseconds(100);
constexpr auto TimeBetweenComplaints = std::chrono::minutes(1);

/// Blocks of this size or more are returned to the system when they are freed.
constexpr int LargeBlock = 256 * 1024;
/// Each arena keeps memory that others could use.
constexpr int Arenas = 2;
constexpr rlim_t ClientLimit = 2000;
/// Reserved for the service: without a descriptor for its journal, it could answer no client.
constexpr rlim_t ReservedDescriptors = 64;

/// How many clients may be connected at once, if the system has enough descriptors.
std::size_t mostClients() {
    rlimit limit{};
    (void)getrlimit(RLIMIT_NOFILE, &limit);
    const rlim_t wanted = ClientLimit + ReservedDescriptors;
    if (limit.rlim_cur < wanted && limit.rlim_cur < limit.rlim_max) {
        limit.rlim_cur = std::min(wanted, limit.rlim_max);
        (void)setrlimit(RLIMIT_NOFILE, &limit);
        (void)getrlimit(RLIMIT_NOFILE, &limit);
    }
    const rlim_t reserved = std::min(ReservedDescriptors, limit.rlim_cur / 2);
    return std::clamp<rlim_t>(limit.rlim_cur - reserved, 1, ClientLimit);
}

}  // namespace

class SocketServer::Implementation {
public:
    Implementation(int listener, Dispatcher& dispatcher, Clients& clients)
        : m_dispatcher(dispatcher),
          m_clients(clients),
          m_acceptor(m_io, Protocol(), listener),
          m_pause(m_io),
          m_mostClients(mostClients()) {
        (void)mallopt(M_MMAP_THRESHOLD, LargeBlock);
        (void)mallopt(M_ARENA_MAX, Arenas);
        (void)malloc_trim(0);  // returns memory that the start has used
        accept();
        startThreads();
    }

    ~Implementation() {
        closeAcceptor();
        for (const auto& client : m_clients.all()) {
            client->end();
        }
        m_load->share.clear();  // otherwise its pause would keep the threads alive
        waitForClients();
        m_io.stop();
        for (std::thread& thread : m_threads) {
            thread.join();
        }
        m_load->largeMessages.clear();
        m_load->share.clear();
    }

    Implementation(const Implementation&) = delete;
    Implementation& operator=(const Implementation&) = delete;

private:
    /// Current messages get most of the remaining time, clients that do not read their answers
    /// less. After that, EndWatch interrupts the messages.
    void waitForClients() {
        const auto begun = std::chrono::steady_clock::now();
        auto lastWork = begun;
        std::unique_lock<std::mutex> lock(m_mutex);
        for (auto now = begun;
             m_running > 0 && now < begun + EndTime && now < lastWork + UnreadTime;
             now = std::chrono::steady_clock::now()) {
            m_ended.wait_for(lock, TimeBetweenLooks);
            lastWork = m_load->inWork > 0 ? now : lastWork;
        }
    }

    /// As many as the system allows; with none of them there is no server.
    void startThreads() {
        const Lock lock(m_mutex);
        m_threads.reserve(threads());
        try {
            while (m_threads.size() < threads()) {
                m_threads.emplace_back([this] { run(); });
                ++m_running;
            }
        } catch (const std::system_error& failure) {
            if (m_threads.empty()) {
                throw;
            }
            logAppUni("das", LogSource, 2, __LINE__, "Only %zu threads serve clients: %s",
                      m_threads.size(), failure.what());
        }
    }

    void run() {
        bool isDone = false;
        while (!isDone) {
            try {
                m_io.run();
                isDone = true;
            } catch (const std::exception& failure) {
                logAppUni("das", LogSource, 2, __LINE__, "A client's handler failed: %s",
                          failure.what());
            }
        }
        const Lock lock(m_mutex);
        --m_running;
        m_ended.notify_all();
    }

    void accept() {
        const Lock lock(m_mutex);
        if (!m_acceptor.is_open()) {
            return;
        }
        if (m_load->clients >= m_mostClients) {
            pause("too many are there");
            return;
        }
        m_acceptor.async_accept([this](const error_code& error, Protocol::socket socket) {
            onAccept(error, std::move(socket));
        });
    }

    void onAccept(const error_code& error, Protocol::socket socket) {
        if (error) {
            const Lock lock(m_mutex);
            pause(error.message());
            return;
        }
        enter(std::move(socket));
        accept();
    }

    /// Under the mutex, so that no client is added after the last one that end() sees.
    void enter(Protocol::socket socket) {
        const Lock lock(m_mutex);
        if (!m_acceptor.is_open()) {
            return;
        }
        try {
            std::make_shared<ClientSession>(std::move(socket), m_dispatcher, m_clients, m_load)
                ->start();
        } catch (const std::exception& failure) {
            logAppUni("das", LogSource, 2, __LINE__, "A client is turned away: %s", failure.what());
        }
    }

    /// New clients wait until others have disconnected. Call it with the mutex held.
    void pause(const std::string& reason) {
        if (!m_acceptor.is_open()) {
            return;
        }
        const auto now = std::chrono::steady_clock::now();
        if (now >= m_nextComplaint) {
            logAppUni("das", LogSource, 2, __LINE__, "No client can come in: %s", reason.c_str());
            m_nextComplaint = now + TimeBetweenComplaints;
        }
        m_pause.expires_after(AcceptPause);
        m_pause.async_wait([this](const error_code&) { accept(); });
    }

    void closeAcceptor() {
        const Lock lock(m_mutex);
        error_code ignored;
        m_acceptor.close(ignored);
        m_pause.cancel();
    }

    Dispatcher& m_dispatcher;
    Clients& m_clients;
    asio::io_context m_io;
    std::mutex m_mutex;  ///< protects the members below
    Protocol::acceptor m_acceptor;
    asio::steady_timer m_pause;
    const std::shared_ptr<ServerLoad> m_load = std::make_shared<ServerLoad>(m_io);
    const std::size_t m_mostClients;
    std::chrono::steady_clock::time_point m_nextComplaint{};
    std::condition_variable m_ended;
    unsigned m_running = 0;
    std::vector<std::thread> m_threads;
};

SocketServer::SocketServer(int listener, Dispatcher& dispatcher, Clients& clients)
    : m_implementation(std::make_unique<Implementation>(listener, dispatcher, clients)) {}

SocketServer::~SocketServer() = default;
