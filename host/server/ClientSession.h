#ifndef CLIENTSESSION_H
#define CLIENTSESSION_H

#include <sys/socket.h>

#include <atomic>
#include <boost/asio/local/stream_protocol.hpp>
#include <boost/asio/steady_timer.hpp>
#include <deque>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>

#include "framework/AccessRules.h"
#include "framework/Client.h"
#include "server/ServerLoad.h"
#include "wire/LineCutter.h"

class Dispatcher;

/**
 * One client of the socket. To be held by std::shared_ptr.
 *
 * The lines that were read belong to the one handler that reads or handles a message; everything
 * else belongs to whoever has the mutex. A session lives as long as a handler waits for something.
 */
class ClientSession : public Client {
public:
    using Protocol = boost::asio::local::stream_protocol;

    ClientSession(Protocol::socket socket, Dispatcher& dispatcher, Clients& clients,
                  std::shared_ptr<ServerLoad> load);
    ~ClientSession() override;
    ClientSession(const ClientSession&) = delete;
    ClientSession& operator=(const ClientSession&) = delete;

    void start();
    void sendLine(std::string line) override;
    void sendChanges() override;
    const ClientRights* rights() const override { return m_rights ? &*m_rights : nullptr; }
    uid_t user() const override { return m_peer.user; }
    std::size_t longestAnswer() const override { return ServerLoad::MostUnreadOfClient; }
    void end() override { finish(Stage::Finishing); }

private:
    enum class Stage {
        Open,       ///< messages are handled
        Finishing,  ///< no more are: what is in work and in the queue is brought to its end
        Lingering,  ///< the last answer has been given, what still comes is read and dropped
        Closed
    };

    std::shared_ptr<ClientSession> self() {
        return std::static_pointer_cast<ClientSession>(shared_from_this());
    }

    void read();
    void countLineMemory();
    void onRead(const boost::system::error_code& error, std::size_t count);
    void handleNext();
    void handle(LineCutter::Found found, std::string_view line);
    void handleInTurn(LineCutter::Found found, std::string_view line);
    void work(LineCutter::Found found, std::string_view line);
    void handleNextLater(LineCutter::Found found, std::string_view line);
    bool isLingering();
    bool beginMessage();
    void endMessage();
    void refuse(std::string_view line);
    void finish(Stage stage);
    void dropLargest();
    void drop(const std::string& reason);

    // To be called with the mutex held.
    void queue(std::string lines);
    void queueChanges();
    bool hasRoomForChanges(std::size_t size) const;
    void count(std::size_t unread);
    void write();
    void settle();
    void close();

    Dispatcher& m_dispatcher;
    const Clients& m_clients;
    const std::shared_ptr<ServerLoad> m_load;
    std::size_t m_lineMemory = 0;  ///< what of the load's is this client's
    std::mutex m_mutex;
    Stage m_stage = Stage::Open;
    Protocol::socket m_socket;
    const Peer m_peer;  ///< the client's process and user when it connected
    const std::optional<ClientRights> m_rights;  ///< none where there are no rules
    FairShare::Turn m_turn;
    boost::asio::steady_timer m_linger;
    std::deque<std::string> m_queue;
    std::size_t m_sent = 0;                ///< bytes of the first text of the queue
    std::atomic<std::size_t> m_unread{0};  ///< bytes of the queue that are not sent
    bool m_isWaiting = false;              ///< until the client takes more
    std::size_t m_aheadOfStandIn = 0;  ///< bytes to be sent to the end of a line that stands for changes
    bool m_isHandling = false;   ///< a message is in work
    bool m_hasSentMuch = false;  ///< the message in work has a large answer
    LineCutter m_lines;
};

#endif
