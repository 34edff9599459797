#include "server/SocketServer.h"

#include <malloc.h>
#include <sys/resource.h>

#include <algorithm>
#include <atomic>
#include <boost/asio/io_context.hpp>
#include <boost/asio/local/stream_protocol.hpp>
#include <boost/asio/post.hpp>
#include <boost/asio/steady_timer.hpp>
#include <chrono>
#include <condition_variable>
#include <deque>
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
#include "wire/LineCutter.h"

namespace asio = boost::asio;
using Protocol = asio::local::stream_protocol;
using boost::system::error_code;
using Lock = std::lock_guard<std::mutex>;

namespace {

constexpr const char* LogSource = "./host/SocketServer";

constexpr std::size_t QueueLimit = 16 * 1024 * 1024;
constexpr auto LingerTime = std::chrono::seconds(5);
constexpr auto EndTime = std::chrono::seconds(2);
constexpr auto AcceptPause = std::chrono::milliseconds(100);
constexpr auto TimeBetweenComplaints = std::chrono::minutes(1);

constexpr std::size_t LineMemoryLimit = 128 * 1024 * 1024;  // of all clients together
/// What is as large as this goes back to the system when it is freed.
constexpr int LargeBlock = 1024 * 1024;
constexpr std::size_t LineLimitBeyond = 64 * 1024;
constexpr rlim_t ClientLimit = 2000;
/// Left to the service: without a journal it could answer nobody.
constexpr rlim_t ReservedDescriptors = 64;

/// What all clients together have. It lives as long as the last of them.
struct Load {
    std::atomic<std::size_t> clients{0};
    std::atomic<std::size_t> lineMemory{0};
};

/// How many clients may be in at once, as far as the system gives descriptors.
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

/**
 * One client of the socket.
 *
 * The lines that were read belong to the one handler that reads or handles a message; everything
 * else belongs to whoever has the mutex. A session lives as long as a handler waits for something.
 */
class Session : public Client {
public:
    Session(Protocol::socket socket, Dispatcher& dispatcher, Clients& clients,
            std::shared_ptr<Load> load)
        : Client(clients),
          m_dispatcher(dispatcher),
          m_load(std::move(load)),
          m_socket(std::move(socket)),
          m_linger(m_socket.get_executor()),
          m_lines(LineCutter::MessageLimit) {
        ++m_load->clients;
    }
    ~Session() override {
        --m_load->clients;
        m_load->lineMemory -= m_lineMemory;
    }
    Session(const Session&) = delete;
    Session& operator=(const Session&) = delete;

    void start();
    void sendLine(const std::string& line) override;
    void end() override { finish(Stage::Finishing); }

private:
    enum class Stage {
        Open,       ///< messages are handled
        Finishing,  ///< no more are: what is in work and in the queue is brought to its end
        Lingering,  ///< the last answer has been given, what still comes is read and dropped
        Closed
    };

    std::shared_ptr<Session> self() {
        return std::static_pointer_cast<Session>(shared_from_this());
    }

    void read();
    void countLineMemory();
    void onRead(const error_code& error, std::size_t count);
    void handleNext();
    void handle(LineCutter::Found found, std::string_view line);
    bool isLingering();
    bool beginMessage();
    void endMessage();
    void refuse(std::string_view line);
    void finish(Stage stage);

    // To be called with the mutex held.
    void write();
    void settle();
    void close();

    Dispatcher& m_dispatcher;
    const std::shared_ptr<Load> m_load;
    std::size_t m_lineMemory = 0;  ///< what of the load's is this client's
    std::mutex m_mutex;
    Stage m_stage = Stage::Open;
    Protocol::socket m_socket;
    asio::steady_timer m_linger;
    std::deque<std::string> m_queue;
    std::size_t m_sent = 0;     ///< bytes of the first text of the queue
    std::size_t m_queued = 0;   ///< bytes of the queue that are not sent
    bool m_isWaiting = false;   ///< until the client takes more
    bool m_isHandling = false;  ///< a message is in work
    LineCutter m_lines;
};

void Session::start() {
    error_code ignored;
    m_socket.non_blocking(true, ignored);
    read();
}

void Session::read() {
    const LineCutter::Room room = m_lines.room();
    countLineMemory();
    const Lock lock(m_mutex);
    if (m_stage == Stage::Open || m_stage == Stage::Lingering) {
        m_socket.async_read_some(asio::buffer(room.begin, room.size),
                                 [session = self()](const error_code& error, std::size_t count) {
                                     session->onRead(error, count);
                                 });
    }
}

void Session::countLineMemory() {
    m_load->lineMemory += m_lines.memory() - m_lineMemory;
    m_lineMemory = m_lines.memory();
}

void Session::onRead(const error_code& error, std::size_t count) {
    if (error) {
        finish(Stage::Finishing);
        return;
    }
    m_lines.filled(count);
    if (isLingering()) {
        m_lines.drop();
        read();
        return;
    }
    // Many long messages that nobody ends must not take all memory: beyond a limit only short ones
    // are taken, until those that are refused have made room.
    m_lines.setLimit(m_load->lineMemory > LineMemoryLimit ? LineLimitBeyond
                                                          : LineCutter::MessageLimit);
    handleNext();
}

/// Goes on with what has been read.
void Session::handleNext() {
    std::string_view line;
    const LineCutter::Found found = m_lines.next(line);
    if (found == LineCutter::Found::Nothing) {
        read();
    } else {
        handle(found, line);
    }
}

void Session::handle(LineCutter::Found found, std::string_view line) {
    if (!beginMessage()) {
        finish(Stage::Finishing);
        return;
    }
    if (found == LineCutter::Found::TooLong) {
        refuse(line);
        return;
    }
    m_dispatcher.handle(line, shared_from_this());
    endMessage();
    const LineCutter::Found next = m_lines.next(line);
    if (next == LineCutter::Found::Nothing) {
        read();
    } else {
        // A client that sends many messages at once takes turns with the others.
        asio::post(m_socket.get_executor(),
                   [session = self(), next, line] { session->handle(next, line); });
    }
}

bool Session::isLingering() {
    const Lock lock(m_mutex);
    return m_stage == Stage::Lingering;
}

/// False when no more messages are handled.
bool Session::beginMessage() {
    const Lock lock(m_mutex);
    m_isHandling = m_stage == Stage::Open;
    return m_isHandling;
}

void Session::endMessage() {
    const Lock lock(m_mutex);
    m_isHandling = false;
    settle();
}

/// Answers a message that is too long. What the client still sends of it is dropped for a while: a
/// socket that is closed at once takes the answer with it.
void Session::refuse(std::string_view line) {
    logAppUni("das", LogSource, 2, __LINE__, "Client %s is closed: a message above %zu bytes",
              name().c_str(), m_lines.limit());
    m_dispatcher.refuse(line, *this);
    m_lines.drop();
    finish(Stage::Lingering);
    endMessage();
    read();
}

/// Takes no more messages; closes at once if nothing is left to be done.
void Session::finish(Stage stage) {
    const Lock lock(m_mutex);
    if (m_stage == Stage::Open) {
        m_stage = stage;
    } else if (m_stage == Stage::Lingering) {
        m_stage = Stage::Finishing;
    }
    if (m_stage == Stage::Lingering) {
        m_linger.expires_after(LingerTime);
        m_linger.async_wait([session = self()](const error_code& error) {
            const Lock timerLock(session->m_mutex);
            if (!error) {
                session->close();
            }
        });
    }
    settle();
}

void Session::sendLine(const std::string& line) {
    {
        const Lock lock(m_mutex);
        if (m_stage == Stage::Lingering || m_stage == Stage::Closed) {
            return;
        }
        if (m_queued < QueueLimit) {
            m_queue.push_back(line + "\n");
            m_queued += line.size() + 1;
            write();
            return;
        }
        m_stage = Stage::Closed;
    }
    logAppUni("das", LogSource, 2, __LINE__,
              "Client %s is closed: it does not read, and %zu bytes wait for it", name().c_str(),
              QueueLimit);
    const Lock lock(m_mutex);
    close();
}

void Session::write() {
    while (!m_queue.empty() && !m_isWaiting) {
        const std::string& text = m_queue.front();
        error_code error;
        const std::size_t count =
            m_socket.write_some(asio::buffer(text.data() + m_sent, text.size() - m_sent), error);
        if (error == asio::error::would_block) {
            m_socket.async_wait(Protocol::socket::wait_write,
                                [session = self()](const error_code& /*told by the next write*/) {
                                    const Lock lock(session->m_mutex);
                                    session->m_isWaiting = false;
                                    session->write();
                                    session->settle();
                                });
            m_isWaiting = true;  // behind a call that may raise
        } else if (error) {
            close();
        } else {
            m_sent += count;
            m_queued -= count;
            if (m_sent == text.size()) {
                m_queue.pop_front();
                m_sent = 0;
            }
        }
    }
}

void Session::settle() {
    if (!m_queue.empty() || m_isHandling) {
        return;
    }
    if (m_stage == Stage::Finishing) {
        close();
    } else if (m_stage == Stage::Lingering) {
        error_code ignored;
        m_socket.shutdown(Protocol::socket::shutdown_send, ignored);
    }
}

void Session::close() {
    m_stage = Stage::Closed;
    m_queue.clear();
    m_queued = 0;
    m_linger.cancel();
    error_code ignored;
    m_socket.close(ignored);
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
        accept();
        startThreads();
    }

    ~Implementation() {
        closeAcceptor();
        for (const auto& client : m_clients.all()) {
            client->end();
        }
        {
            std::unique_lock<std::mutex> lock(m_mutex);
            m_ended.wait_for(lock, EndTime, [this] { return m_running == 0; });
        }
        m_io.stop();
        for (std::thread& thread : m_threads) {
            thread.join();
        }
    }

    Implementation(const Implementation&) = delete;
    Implementation& operator=(const Implementation&) = delete;

private:
    /// As many as the system gives; without any there is no server.
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

    /// Under the mutex, so that no client comes in behind the last one that end() sees.
    void enter(Protocol::socket socket) {
        const Lock lock(m_mutex);
        if (!m_acceptor.is_open()) {
            return;
        }
        try {
            std::make_shared<Session>(std::move(socket), m_dispatcher, m_clients, m_load)->start();
        } catch (const std::exception& failure) {
            logAppUni("das", LogSource, 2, __LINE__, "A client is turned away: %s", failure.what());
        }
    }

    /// Clients wait until others have left. To be called with the mutex held.
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
    std::mutex m_mutex;  ///< of what follows
    Protocol::acceptor m_acceptor;
    asio::steady_timer m_pause;
    const std::shared_ptr<Load> m_load = std::make_shared<Load>();
    const std::size_t m_mostClients;
    std::chrono::steady_clock::time_point m_nextComplaint{};
    std::condition_variable m_ended;
    unsigned m_running = 0;
    std::vector<std::thread> m_threads;
};

SocketServer::SocketServer(int listener, Dispatcher& dispatcher, Clients& clients)
    : m_implementation(std::make_unique<Implementation>(listener, dispatcher, clients)) {}

SocketServer::~SocketServer() = default;
