#ifndef SERVERLOAD_H
#define SERVERLOAD_H

#include <atomic>
#include <cstddef>
#include <mutex>

#include "server/FairShare.h"
#include "server/Turns.h"

/// What all clients of a socket have together, and how much of it there may be. It outlives them.
struct ServerLoad {
    explicit ServerLoad(boost::asio::io_context& io) : share(io) {}

    /// Bytes of lines that clients have begun to send, and the longest line that is taken beyond.
    static constexpr std::size_t MostLineMemory = std::size_t{48} * 1024 * 1024;
    static constexpr std::size_t LineLimitBeyond = std::size_t{64} * 1024;
    /// Bytes of answers that clients have not read.
    static constexpr std::size_t MostUnread = std::size_t{64} * 1024 * 1024;
    /// Of one client, besides the answer that is being sent; also the longest answer.
    static constexpr std::size_t MostUnreadOfClient = std::size_t{16} * 1024 * 1024;
    /// A client for which more than this waits hears of changes by one message for several.
    static constexpr std::size_t MostUnreadWithChanges = std::size_t{8} * 1024 * 1024;
    /// As many changes may wait for each client, however much waits for all: with the most clients
    /// that the host takes, a quarter of what may wait for all.
    static constexpr std::size_t UnreadForEach = std::size_t{8} * 1024;
    /// A message above this is handled while no other such message is.
    static constexpr std::size_t LargeMessage = std::size_t{1024} * 1024;

    std::atomic<std::size_t> clients{0};
    std::atomic<std::size_t> inWork{0};  ///< messages
    std::atomic<std::size_t> lineMemory{0};
    std::atomic<std::size_t> unread{0};
    std::mutex dropping;  ///< held by who closes clients for the answers that they do not read
    Turns largeMessages;
    FairShare share;
};

#endif
