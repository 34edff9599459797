#ifndef SERVERLOAD_H
#define SERVERLOAD_H

#include <atomic>
#include <cstddef>
#include <mutex>

#include "server/FairShare.h"
#include "server/Turns.h"

/// The totals of all clients of a socket, and their limits. It outlives the clients.
struct ServerLoad {
    explicit ServerLoad(boost::asio::io_context& io) : share(io) {}

    /// Bytes of all clients' unfinished lines, and the longest line that is accepted beyond that.
    static constexpr std::size_t MostLineMemory = std::size_t{48} * 1024 * 1024;
    static constexpr std::size_t LineLimitBeyond = std::size_t{64} * 1024;
    /// Bytes of answers that clients have not read.
    static constexpr std::size_t MostUnread = std::size_t{64} * 1024 * 1024;
    /// The same for one client, without the answer that is being sent; also the longest answer.
    static constexpr std::size_t MostUnreadOfClient = std::size_t{16} * 1024 * 1024;
    /// If more than this waits for a client, it gets one message in place of several changes.
    static constexpr std::size_t MostUnreadWithChanges = std::size_t{8} * 1024 * 1024;
    /// This many bytes of changes may wait for each client, whatever waits for the others. With the
    /// maximum number of clients, this is a quarter of what may wait for all.
    static constexpr std::size_t UnreadForEach = std::size_t{8} * 1024;
    /// Only one message above this size is handled at a time.
    static constexpr std::size_t LargeMessage = std::size_t{1024} * 1024;

    /// Current totals of all sessions. Each session adds and subtracts its own part, so that
    /// nothing must walk over all clients.
    std::atomic<std::size_t> clients{0};
    std::atomic<std::size_t> inWork{0};  ///< messages
    std::atomic<std::size_t> lineMemory{0};
    std::atomic<std::size_t> unread{0};
    std::mutex dropping;  ///< held while clients are disconnected because of answers that they do
                          ///< not read
    Turns largeMessages;
    FairShare share;
};

#endif
