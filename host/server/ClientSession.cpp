// Two rules prevent a client from harming others. No more bytes are read while a message of the
// client is handled, so requests can't fill the memory; and unread answers are limited.

#include "server/ClientSession.h"

#include <malloc.h>

#include <algorithm>
#include <boost/asio/buffer.hpp>
#include <boost/asio/post.hpp>
#include <chrono>
#include <map>
#include <utility>

#include "Log.h"
#include "Work.h"
#include "framework/Dispatcher.h"
#include "framework/Statistics.h"

namespace asio = boost::asio;
using boost::system::error_code;
using Lock = std::lock_guard<std::mutex>;

namespace {

constexpr const char* LogSource = "./host/ClientSession";

constexpr auto LingerTime = std::chrono::seconds(5);
/// Short answers are queued in pieces up to this size, so that each needs no own allocation.
constexpr std::size_t SizeOfPiece = std::size_t{64} * 1024;

bool isLarge(LineCutter::Found found, std::string_view line) {
    return found == LineCutter::Found::Line && line.size() > ServerLoad::LargeMessage;
}

/// Ends the turn of a large message, and gives the memory that it used back to the system.
class TurnOfLarge {
public:
    explicit TurnOfLarge(Turns* turns) : m_turns(turns) {}
    ~TurnOfLarge() {
        if (m_turns != nullptr) {
            (void)malloc_trim(0);
            m_turns->end();
        }
    }
    TurnOfLarge(const TurnOfLarge&) = delete;
    TurnOfLarge& operator=(const TurnOfLarge&) = delete;

private:
    Turns* const m_turns;
};

}  // namespace

ClientSession::ClientSession(Protocol::socket socket, Dispatcher& dispatcher, Clients& clients,
                             std::shared_ptr<ServerLoad> load)
    : Client(clients),
      m_dispatcher(dispatcher),
      m_clients(clients),
      m_load(std::move(load)),
      m_socket(std::move(socket)),
      m_peer(Peer::of(m_socket.native_handle())),
      m_rights(dispatcher.rightsOf(m_peer)),
      m_linger(m_socket.get_executor()),
      m_lines(LineCutter::MessageLimit) {
    ++m_load->clients;
    m_dispatcher.statistics().addClient();
}

ClientSession::~ClientSession() {
    m_load->share.end(m_turn, {});  // a message that was never handled
    --m_load->clients;
    m_dispatcher.statistics().removeClient();
    m_dispatcher.statistics().bytesWaiting -= static_cast<std::int64_t>(m_unread.load());
    m_load->lineMemory -= m_lineMemory;
    m_load->unread -= m_unread;
}

void ClientSession::start() {
    error_code ignored;
    m_socket.non_blocking(true, ignored);
    read();
}

void ClientSession::read() {
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

void ClientSession::countLineMemory() {
    m_load->lineMemory += m_lines.memory() - m_lineMemory;
    m_lineMemory = m_lines.memory();
}

void ClientSession::onRead(const error_code& error, std::size_t count) {
    if (error) {
        finish(Stage::Finishing);
        return;
    }
    m_lines.filled(count);
    m_dispatcher.statistics().bytesIn += count;
    if (isLingering()) {
        m_lines.drop();
        read();
        return;
    }
    // Many unfinished long messages must not use all memory. Beyond a limit, only short messages
    // are accepted until the refused ones have freed memory.
    m_lines.setLimit(m_load->lineMemory > ServerLoad::MostLineMemory ? ServerLoad::LineLimitBeyond
                                                                     : LineCutter::MessageLimit);
    handleNext();
}

void ClientSession::handleNext() {
    std::string_view line;
    const LineCutter::Found found = m_lines.next(line);
    if (found == LineCutter::Found::Nothing) {
        read();
    } else {
        handle(found, line);
    }
}

/// A message that must wait for messages of others waits without occupying a thread.
void ClientSession::handle(LineCutter::Found found, std::string_view line) {
    const auto again = [session = self(), found, line] { session->handleNextLater(found, line); };
    if (!m_load->share.begin(m_peer.process, m_turn, again)) {
        return;
    }
    const auto handleLater = [session = self(), found, line] {
        asio::post(session->m_socket.get_executor(),
                   [session, found, line] { session->handleInTurn(found, line); });
    };
    if (!isLarge(found, line) || m_load->largeMessages.take(handleLater)) {
        handleInTurn(found, line);
    }
}

void ClientSession::handleInTurn(LineCutter::Found found, std::string_view line) {
    const TurnOfLarge turn(isLarge(found, line) ? &m_load->largeMessages : nullptr);
    bool isOpen = false;
    {
        const FairShare::InUse share(m_load->share, m_turn);
        isOpen = beginMessage();
        if (isOpen) {
            work(found, line);
        }
    }
    if (!isOpen) {
        finish(Stage::Finishing);
    } else if (found == LineCutter::Found::TooLong) {
        read();
    } else {
        const LineCutter::Found next = m_lines.next(line);
        if (next == LineCutter::Found::Nothing) {
            read();
        } else {
            // A client that sends many messages at once takes turns with the others.
            handleNextLater(next, line);
        }
    }
}

void ClientSession::handleNextLater(LineCutter::Found found, std::string_view line) {
    asio::post(m_socket.get_executor(),
               [session = self(), found, line] { session->handle(found, line); });
}

void ClientSession::work(LineCutter::Found found, std::string_view line) {
    if (found == LineCutter::Found::TooLong) {
        refuse(line);
    } else {
        m_dispatcher.handle(line, shared_from_this());
        endMessage();
    }
}

bool ClientSession::isLingering() {
    const Lock lock(m_mutex);
    return m_stage == Stage::Lingering;
}

bool ClientSession::beginMessage() {
    const Lock lock(m_mutex);
    m_isHandling = m_stage == Stage::Open;
    m_load->inWork += m_isHandling ? 1 : 0;
    return m_isHandling;
}

void ClientSession::endMessage() {
    bool hasSentMuch = false;
    {
        const Lock lock(m_mutex);
        m_isHandling = false;
        --m_load->inWork;
        hasSentMuch = std::exchange(m_hasSentMuch, false);
        settle();
    }
    if (hasSentMuch) {
        (void)malloc_trim(0);  // the rows of a large answer have left free blocks in the heap
    }
}

/// Answers a message that is too long. The rest of that message is then read and dropped for a
/// while, because closing the socket at once would also destroy the answer.
void ClientSession::refuse(std::string_view line) {
    logAppUni("das", LogSource, 2, __LINE__, "Client %s is closed: a message above %zu bytes",
              name().c_str(), m_lines.limit());
    ++m_dispatcher.statistics().closed;
    m_dispatcher.refuse(line, *this);
    m_lines.drop();
    finish(Stage::Lingering);
    endMessage();
}

void ClientSession::finish(Stage stage) {
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

void ClientSession::sendLine(std::string line) {
    bool isFull = false;
    {
        const Lock lock(m_mutex);
        // An interrupted message may be executed or not, so it must not be answered either way.
        if (m_stage == Stage::Lingering || m_stage == Stage::Closed || Work::isInterrupted()) {
            return;
        }
        m_hasSentMuch = m_hasSentMuch || line.size() > ServerLoad::LargeMessage;
        queueChanges();  // the line may show these changes
        line += '\n';
        queue(std::move(line));
        write();
        const std::size_t inSending = m_queue.empty() ? 0 : m_queue.front().size() - m_sent;
        isFull = m_unread - inSending > ServerLoad::MostUnreadOfClient;
        m_stage = isFull ? Stage::Closed : m_stage;
    }
    if (isFull) {
        drop("it does not read, and more than " + std::to_string(ServerLoad::MostUnreadOfClient) +
             " bytes wait for it");
    }
    if (m_load->unread > ServerLoad::MostUnread) {
        dropLargest();
    }
}

void ClientSession::sendChanges() {
    const Lock lock(m_mutex);
    if (m_stage == Stage::Open || m_stage == Stage::Finishing) {
        queueChanges();
        write();
        settle();
    }
}

void ClientSession::queueChanges() {
    std::string lines = takeChanges();
    if (lines.empty() || m_aheadOfStandIn > 0) {
        return;  // the line that stands for earlier changes also stands for these
    }
    if (hasRoomForChanges(lines.size())) {
        queue(std::move(lines));
    } else {
        queue(standInOfChanges());
        m_aheadOfStandIn = m_unread;
    }
}

/// Waiting changes must not disconnect clients, nor must slow clients make others miss changes.
bool ClientSession::hasRoomForChanges(std::size_t size) const {
    return m_unread + size <= ServerLoad::UnreadForEach ||
           (m_unread <= ServerLoad::MostUnreadWithChanges &&
            m_load->unread <= ServerLoad::MostUnread / 2);
}

/// Frees memory for the answers of others. Of the user whose clients hold most, the largest client
/// is disconnected, so that no user can harm another one.
void ClientSession::dropLargest() {
    const Lock lock(m_load->dropping);
    while (m_load->unread > ServerLoad::MostUnread) {
        std::map<uid_t, std::size_t> unreadOfUser;
        std::map<uid_t, std::shared_ptr<ClientSession>> largestOfUser;
        for (const std::shared_ptr<Client>& client : m_clients.all()) {
            const auto session = std::static_pointer_cast<ClientSession>(client);
            unreadOfUser[session->m_peer.user] += session->m_unread;
            auto& largest = largestOfUser[session->m_peer.user];
            if (largest == nullptr || session->m_unread > largest->m_unread) {
                largest = session;
            }
        }
        const auto worst = std::max_element(
            unreadOfUser.begin(), unreadOfUser.end(),
            [](const auto& left, const auto& right) { return left.second < right.second; });
        if (worst == unreadOfUser.end() || worst->second == 0) {
            return;
        }
        largestOfUser[worst->first]->drop(
            "clients do not read, and more than " + std::to_string(ServerLoad::MostUnread) +
            " bytes wait for all, " + std::to_string(worst->second) + " of them for its user");
    }
}

void ClientSession::drop(const std::string& reason) {
    ++m_dispatcher.statistics().closed;
    logAppUni("das", LogSource, 2, __LINE__, "Client %s is closed: %s", name().c_str(),
              reason.c_str());
    const Lock lock(m_mutex);
    close();
}

void ClientSession::queue(std::string lines) {
    count(m_unread + lines.size());
    if (!m_queue.empty() && m_queue.back().size() + lines.size() <= SizeOfPiece) {
        m_queue.back() += lines;
    } else {
        m_queue.push_back(std::move(lines));
    }
}

void ClientSession::count(std::size_t unread) {
    m_load->unread += unread - m_unread;
    m_dispatcher.statistics().bytesWaiting += static_cast<std::int64_t>(unread - m_unread);
    m_unread = unread;
}

void ClientSession::write() {
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
            m_isWaiting = true;  // after a call that may throw
        } else if (error) {
            close();
        } else {
            m_sent += count;
            m_aheadOfStandIn -= std::min(m_aheadOfStandIn, count);
            m_dispatcher.statistics().bytesOut += count;
            this->count(m_unread - count);
            if (m_sent == text.size()) {
                m_queue.pop_front();
                m_sent = 0;
            }
        }
    }
}

void ClientSession::settle() {
    if (!m_queue.empty() || m_isHandling) {
        return;
    }
    if (m_stage == Stage::Finishing) {
        queueChanges();
        write();
        if (m_queue.empty()) {
            close();
        }
    } else if (m_stage == Stage::Lingering) {
        error_code ignored;
        m_socket.shutdown(Protocol::socket::shutdown_send, ignored);
    }
}

void ClientSession::close() {
    m_stage = Stage::Closed;
    m_queue = {};
    count(0);
    m_linger.cancel();
    error_code ignored;
    m_socket.close(ignored);
}
