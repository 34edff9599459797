#ifndef RACELISTENER_H
#define RACELISTENER_H

#include <atomic>
#include <random>
#include <string>
#include <thread>

class RaceHost;

/**
 * A client of a socket that listens to changes of contacts and keeps a copy of them, which it reads
 * again only after a change. It pauses between two reads. A slow client requests more than may wait
 * for it and stops reading, so that it misses changes and gets one message for all of them. A
 * client without the right to write tries to write, and must be refused.
 */
class RaceListener {
public:
    struct Kind {
        std::size_t role;
        bool isSlow;
        const char* user;  ///< whose contacts it reads
        unsigned seed;
    };

    /// Connects, and listens until @p isEnding. Throws std::runtime_error on failure.
    RaceListener(const RaceHost& host, const Kind& kind, const std::atomic<bool>& isEnding);
    ~RaceListener();
    RaceListener(const RaceListener&) = delete;
    RaceListener& operator=(const RaceListener&) = delete;

    /// Ends its thread, after reading what was sent to it. Call it when no client writes any more.
    void end();

    [[nodiscard]] std::size_t role() const { return m_kind.role; }
    // Its copy of the contacts. Call it after end().
    [[nodiscard]] const std::string& picture() const { return m_picture; }
    /// The contacts in the service now.
    std::string truth() { return exchange(m_read); }
    [[nodiscard]] const std::string& wrong() const { return m_wrong; }
    /// A number that is the same for all listeners that got the same changes in the same order.
    [[nodiscard]] std::size_t order() const { return m_order; }
    [[nodiscard]] long changes() const { return m_changes; }
    [[nodiscard]] long refusals() const { return m_refusals; }
    [[nodiscard]] long allowed() const { return m_allowed; }

private:
    void follow();
    void lookAtContacts();
    void fallBehind();
    void tryForbidden();
    void send(const std::string& line);
    std::string receive();
    std::string receiveAnswer();
    std::string exchange(const std::string& line);
    bool hasLine();
    void take(const std::string& line);

    const Kind m_kind;
    const std::string m_read;  ///< the call that reads the contacts
    std::mt19937 m_random;
    int m_socket;
    std::string m_received;
    std::string m_picture;
    std::string m_wrong;
    bool m_isOutdated = true;
    long m_changes = 0;
    std::size_t m_order = 0;
    long m_refusals = 0;
    long m_allowed = 0;  ///< calls that may reach the service
    const std::atomic<bool>& m_isEnding;
    std::thread m_thread;
};

#endif
