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

    /// Takes over @p socket, and asks the system once who is at its other end: rights and limits go
    /// by that user for as long as the session lives. @p dispatcher, @p clients and what @p load
    /// holds must outlive it; counts the client in @p load.
    ClientSession(Protocol::socket socket, Dispatcher& dispatcher, Clients& clients,
                  std::shared_ptr<ServerLoad> load);
    /// Takes everything that the client had out of the counts. Runs when the last handler has
    /// ended.
    ~ClientSession() override;
    ClientSession(const ClientSession&) = delete;
    ClientSession& operator=(const ClientSession&) = delete;

    /// Begins to read. Once, after a shared pointer holds the session.
    void start();
    /// Sends as much as the socket takes and queues the rest, so it never waits for the client. A
    /// client whose queue grows above MostUnreadOfClient is closed; if all queues together grow
    /// above MostUnread, the largest ones are. Nothing is sent once work was interrupted.
    void sendLine(std::string line) override;
    /// Queues and sends the changes that wait for the client. If too much waits already, a line
    /// that stands for all of them takes their place, and further ones are dropped until then.
    void sendChanges() override;
    /// Null where there are no access rules: everything is allowed then.
    const ClientRights* rights() const override { return m_rights ? &*m_rights : nullptr; }
    uid_t user() const override { return m_peer.user; }
    std::size_t longestAnswer() const override { return ServerLoad::MostUnreadOfClient; }
    /// What is in work is still answered, then the socket is closed.
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

    /// Asks for more bytes of the client; onRead() comes of it.
    void read();
    /// Adds to the load what the lines of this client take now, in place of what they took.
    void countLineMemory();
    /// Bytes have come, or the client has gone. Limits the length of a line by what all clients
    /// have begun to send.
    void onRead(const boost::system::error_code& error, std::size_t count);
    /// Handles the next line that was read, or reads on.
    void handleNext();
    /// Three ways into the handling of one line. handle() asks for a turn, which a large message
    /// and one of a process that has used much must wait for; no thread waits with it.
    /// handleInTurn() does the work and goes on with the line after it. handleNextLater() lets
    /// other clients go first.
    void handle(LineCutter::Found found, std::string_view line);
    void handleInTurn(LineCutter::Found found, std::string_view line);
    /// The work of one line: refuses one that is too long, hands any other to the dispatcher.
    void work(LineCutter::Found found, std::string_view line);
    void handleNextLater(LineCutter::Found found, std::string_view line);
    bool isLingering();
    /// A message begins, unless the session is about to end (false), and ends. In between the
    /// session is not closed for having nothing to send.
    bool beginMessage();
    void endMessage();
    /// Answers a line that is too long, of which @p line is the beginning, and closes the client.
    void refuse(std::string_view line);
    /// Goes to @p stage, from which no new message is handled. From Lingering it goes on to
    /// Finishing.
    void finish(Stage stage);
    /// Closes clients until what waits for all is within its limit again.
    void dropLargest();
    /// Closes this client at once. @p reason is for the log.
    void drop(const std::string& reason);

    // To be called with the mutex held.
    /// Appends whole lines; nothing is sent yet.
    void queue(std::string lines);
    /// Takes the changes that wait into the queue, or the line that stands for them.
    void queueChanges();
    /// Whether @p size bytes of changes may wait for this client without an answer closing it.
    bool hasRoomForChanges(std::size_t size) const;
    /// Sets how many bytes wait for the client, here, in the load and in the statistics.
    void count(std::size_t unread);
    /// Sends from the queue until it is empty or the socket is full; then a handler goes on.
    void write();
    /// Closes the session, or its sending half, when there is nothing left to do in its stage.
    void settle();
    /// Drops what waits. Handlers that still run find the stage Closed and end.
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
    std::size_t m_aheadOfStandIn = 0;  ///< bytes to the end of a line for changes
    bool m_isHandling = false;   ///< a message is in work
    bool m_hasSentMuch = false;  ///< the message in work has a large answer
    LineCutter m_lines;
};

#endif
