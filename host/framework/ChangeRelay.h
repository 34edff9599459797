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
 * As long as there is such a client, a thread sends the changes, and asks the service once a second
 * whether another process has committed. Without such a client there is no thread and the service
 * does not know this object, so a host without listeners has no cost.
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
     * From now on @p client gets changes, written by @p adapter, until it disconnects. A second
     * call of a client with the same adapter replaces its first.
     *
     * @param schemas names joined by commas; a blank text for all
     * @param source  where changes come from; the same at each call
     */
    void add(const std::shared_ptr<Client>& client, ProtocolAdapter& adapter,
             const std::string& schemas, DASChangeSourceIfc& source);

    /// How many clients get changes.
    [[nodiscard]] std::size_t listeners();

    /// Stops sending changes to clients. The source is not used after this.
    void end();

    /// The schemas in a list of names joined by commas. The result is empty for a list without
    /// names, which means all schemas. A blank name in it stands for all names that no schema has.
    static ChangeView::Names namesOf(std::string_view list);

private:
    using Clock = std::chrono::steady_clock;

    /// Clients that listen to the same schemas; weak references, so that they can disconnect.
    struct Audience {
        std::shared_ptr<ChangeView> view;
        std::vector<std::weak_ptr<Client>> clients;
        bool hasNew = false;       ///< since the last sending
        std::size_t gathered = 0;  ///< bytes since then
    };

    /// What must be sent now.
    struct Sending {
        std::shared_ptr<ChangeView> view;
        std::uint64_t end;  ///< the end of the lines that all clients have after this sending
        std::vector<std::shared_ptr<Client>> clients;
    };

    /// Called by the service, on any of its threads, when there is a change.
    void changed(const DASChange& change) override;
    /// Adds the lines of @p change to the views of the clients that listen to it.
    void addToViews(const DASChange& change);
    /// Drops the waiting changes. Each client is informed instead that anything may have changed.
    void dropWaiting();
    /// Whether a change of @p schema is for clients that listen to @p names; a blank schema is for
    /// all.
    static bool hears(const ChangeView::Names& names, const std::string& schema);
    /// Removes @p client from the audiences, and returns what it listened to.
    ChangeView::Asked remove(const std::shared_ptr<Client>& client);

    /// The function of the thread, which runs as long as there are listeners.
    void work(DASChangeSourceIfc& source);
    /// Waits for changes, from @p from until @p to at most. False if the object ends.
    bool wait(Clock::time_point from, Clock::time_point to);
    /// Sends what waits. Returns to how many clients.
    int send();
    std::vector<Sending> takeSendings();
    static bool send(const Sending& sending);
    /// Ends the thread if no listener is left. True if the thread must return.
    bool stopWithoutListeners();
    bool hasListeners();
    void removeEmptyAudiences();

    /// Held while the source starts or stops reporting. No thread that holds a lock of the service
    /// waits for it.
    std::mutex m_startMutex;
    DASChangeSourceIfc* m_source = nullptr;  ///< not owned; null while the source does not report
    std::thread m_thread;

    std::mutex m_mutex;  ///< protects the members below; comes after all locks of the service
    std::condition_variable m_wake;
    std::vector<Audience> m_audiences;
    std::size_t m_waiting = 0;  ///< bytes added to the views since the last sending
    bool m_hasNew = false;      ///< an audience has new lines
    bool m_hasMuch = false;     ///< an audience has so many lines that they are sent without delay
    bool m_isIdle = false;      ///< the thread waits until a change wakes it
    bool m_isEnding = false;
};

#endif
