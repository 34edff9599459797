#ifndef CHANGERELAY_H
#define CHANGERELAY_H

#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include "DASChangeListenerIfc.h"
#include "framework/ChangeView.h"

class Client;
class ProtocolAdapter;

/**
 * Carries committed changes to the clients that have asked for them, as the method "Changed" with
 * the strings "Schema", "Context", "Reason" and "Id".
 *
 * As long as there is such a client, a thread sends what has changed, and asks the service once a
 * second whether another process has committed. Without one there is no thread, and the service
 * does not know of this object, so that a host without listeners pays nothing.
 *
 * A change after a pause is sent at once. While changes come fast, they are gathered for a moment,
 * and each client is sent all of them by one write: with 64 listeners the writes to their sockets
 * would otherwise cost more than the change itself.
 *
 * The service reports a change with the locks of its request held: the change waits for all clients
 * before any answer could show it. So nothing there may wait, neither for a client nor for a thread
 * that calls the service, and what is done there does not grow with the number of clients.
 */
class ChangeRelay : private DASChangeListenerIfc {
public:
    ChangeRelay() = default;
    ~ChangeRelay() override;
    ChangeRelay(const ChangeRelay&) = delete;
    ChangeRelay& operator=(const ChangeRelay&) = delete;

    /**
     * From now on @p client hears of changes, written by @p adapter, until it has gone. A second
     * call of a client with the same adapter takes the place of its first.
     *
     * @param schemas names joined by commas; a blank text for all
     * @param source  where changes come from; the same at each call
     */
    void add(const std::shared_ptr<Client>& client, ProtocolAdapter& adapter,
             const std::string& schemas, DASChangeSourceIfc& source);

    /// How many clients hear of changes.
    [[nodiscard]] std::size_t listeners();

    /// No client hears of changes any more, and the source is not used after this.
    void end();

    /// The schemas that a list of names joined by commas asks for; none for all, as for a list
    /// without names. A blank one stands for all names that no schema has.
    static ChangeView::Names namesOf(std::string_view list);

private:
    using Clock = std::chrono::steady_clock;

    /// Clients that have asked for the same; weakly, so that they can leave.
    struct Audience {
        std::shared_ptr<ChangeView> view;
        std::vector<std::weak_ptr<Client>> clients;
        bool hasNew = false;       ///< since the last sending
        std::size_t gathered = 0;  ///< bytes since then
    };

    /// What is to be sent now.
    struct Sending {
        std::shared_ptr<ChangeView> view;
        std::uint64_t end;  ///< of what all of the clients have when it is done
        std::vector<std::shared_ptr<Client>> clients;
    };

    /// The service reports a change. Called by any thread of the service.
    void changed(const DASChange& change) override;
    /// Adds the lines of @p change to the views that hear it.
    void addToViews(const DASChange& change);
    /// In place of the changes that wait, each client hears that anything may have changed.
    void dropWaiting();
    /// Whether a change of @p schema is for who has asked for @p names; a blank schema is for all.
    static bool hears(const ChangeView::Names& names, const std::string& schema);
    /// Removes @p client from the audiences; what it had asked for.
    ChangeView::Asked remove(const std::shared_ptr<Client>& client);

    /// What the thread does, as long as there are listeners.
    void work(DASChangeSourceIfc& source);
    /// Waits for changes, from @p from until @p to at most. False when the end has come.
    bool wait(Clock::time_point from, Clock::time_point to);
    /// Sends what waits. To how many clients.
    int send();
    std::vector<Sending> takeSendings();
    static bool send(const Sending& sending);
    /// Ends the thread if no listener is left. True when it has to return.
    bool stopWithoutListeners();
    bool hasListeners();
    void removeEmptyAudiences();

    /// Held while the source begins or ends to report. No thread that holds a lock of
    /// the service waits for it.
    std::mutex m_startMutex;
    DASChangeSourceIfc* m_source = nullptr;  ///< not owned; null while it does not report
    std::thread m_thread;

    std::mutex m_mutex;  ///< of what follows; comes after all locks of the service
    std::condition_variable m_wake;
    std::vector<Audience> m_audiences;
    std::size_t m_waiting = 0;  ///< bytes that the views were given since the last sending
    bool m_hasNew = false;      ///< some audience has
    bool m_hasMuch = false;     ///< some audience has so much that it is sent without delay
    bool m_isIdle = false;      ///< the thread waits to be woken by a change
    bool m_isEnding = false;
};

#endif
