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
 * Only the one handler that reads or handles a message uses the lines that were read; all other
 * members are protected by the mutex. A session lives as long as a handler waits for something.
 */
class ClientSession : public Client {
public:
    using Protocol = boost::asio::local::stream_protocol;

    /// Takes over @p socket, and asks the system once for the process and the user at the other
    /// end: rights and limits depend on that user during the whole session. @p dispatcher,
    /// @p clients and what @p load holds must outlive it. Counts the client in @p load.
    ClientSession(Protocol::socket socket, Dispatcher& dispatcher, Clients& clients,
                  std::shared_ptr<ServerLoad> load);
    /// Removes the client's part from all counts. Runs when the last handler has ended.
    ~ClientSession() override;
    ClientSession(const ClientSession&) = delete;
    ClientSession& operator=(const ClientSession&) = delete;

    /// Begins to read. Call it once, after a shared pointer holds the session.
    void start();
    /// Sends as much as the socket accepts and queues the rest, so it never waits for the client. A
    /// client whose queue exceeds MostUnreadOfClient is disconnected; if all queues together exceed
    /// MostUnread, those with the largest queues are. After work was interrupted, nothing is sent.
    void sendLine(std::string line) override;
    /// Queues and sends the waiting changes. If too much is waiting already, one line is sent in
    /// place of all of them, and further changes are dropped until then.
    void sendChanges() override;
    /// Null if there are no access rules: then everything is allowed.
    const ClientRights* rights() const override { return m_rights ? &*m_rights : nullptr; }
    uid_t user() const override { return m_peer.user; }
    std::size_t longestAnswer() const override { return ServerLoad::MostUnreadOfClient; }
    /// The current message is still answered, then the socket is closed.
    void end() override { finish(Stage::Finishing); }

private:
    enum class Stage {
        Open,       ///< messages are handled
        Finishing,  ///< no new messages are handled; the current message and the queue are finished
        Lingering,  ///< the last answer was sent; data that still arrives is read and dropped
        Closed
    };

    std::shared_ptr<ClientSession> self() {
        return std::static_pointer_cast<ClientSession>(shared_from_this());
    }

    /// Starts to read more bytes of the client; onRead() is called when they have arrived.
    void read();
    /// Updates the load with the memory that this client's lines use now.
    void countLineMemory();
    /// Called when bytes have arrived, or when the client has disconnected. The allowed length of a
    /// line depends on the memory of all clients' unfinished lines.
    void onRead(const boost::system::error_code& error, std::size_t count);
    /// Handles the next line that was read, or continues to read.
    void handleNext();
    /// Three entry points for the handling of one line. handle() asks for a turn: a large message
    /// must wait for it, and so must a message of a process that has used much time; no thread
    /// waits meanwhile. handleInTurn() handles the line and continues with the next one.
    /// handleNextLater() lets other clients go first.
    void handle(LineCutter::Found found, std::string_view line);
    void handleInTurn(LineCutter::Found found, std::string_view line);
    /// Handles one line: refuses it if it is too long, otherwise passes it to the dispatcher.
    void work(LineCutter::Found found, std::string_view line);
    void handleNextLater(LineCutter::Found found, std::string_view line);
    bool isLingering();
    /// Called when a message begins and ends; beginMessage() returns false if the session is about
    /// to end. In between, the session is not closed even if it has nothing to send.
    bool beginMessage();
    void endMessage();
    /// Answers a line that is too long, of which @p line is the beginning, and disconnects the
    /// client.
    void refuse(std::string_view line);
    /// Changes to @p stage, in which no new message is handled. Lingering is followed by Finishing.
    void finish(Stage stage);
    /// Disconnects clients until the bytes waiting for all clients are within the limit again.
    void dropLargest();
    /// Disconnects this client at once. @p reason is for the log.
    void drop(const std::string& reason);

    // Appends whole lines to the queue; nothing is sent yet. Call it with the mutex held.
    void queue(std::string lines);
    /// Moves the waiting changes, or the line that stands for them, into the queue.
    void queueChanges();
    /// Whether @p size more bytes of changes may wait for this client without the risk that an
    /// answer then exceeds its limit.
    bool hasRoomForChanges(std::size_t size) const;
    /// Sets how many bytes wait for the client: here, in the load and in the statistics.
    void count(std::size_t unread);
    /// Sends from the queue until it is empty or the socket is full; in that case a handler
    /// continues later.
    void write();
    /// Closes the session, or its sending half, if there is nothing left to do in its stage.
    void settle();
    /// Drops everything that waits. Handlers that still run see the stage Closed and end.
    void close();

    Dispatcher& m_dispatcher;
    const Clients& m_clients;
    const std::shared_ptr<ServerLoad> m_load;
    std::size_t m_lineMemory = 0;  ///< this client's part of the load's line memory
    std::mutex m_mutex;
    Stage m_stage = Stage::Open;
    Protocol::socket m_socket;
    const Peer m_peer;  ///< the client's process and user when it connected
    const std::optional<ClientRights> m_rights;  ///< no value if there are no rules
    FairShare::Turn m_turn;
    boost::asio::steady_timer m_linger;
    std::deque<std::string> m_queue;
    std::size_t m_sent = 0;                ///< bytes of the first element of the queue that were
                                           ///< sent
    std::atomic<std::size_t> m_unread{0};  ///< bytes of the queue that are not sent
    bool m_isWaiting = false;              ///< until the client accepts more
    std::size_t m_aheadOfStandIn = 0;  ///< bytes of the queue up to the end of a line that stands
                                       ///< for changes
    bool m_isHandling = false;   ///< a message is being handled
    bool m_hasSentMuch = false;  ///< the current message has a large answer
    LineCutter m_lines;
};

#endif
