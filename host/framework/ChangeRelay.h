#ifndef CHANGERELAY_H
#define CHANGERELAY_H

#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <memory>
#include <mutex>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include "DASChangeListenerIfc.h"

class Client;
class ProtocolAdapter;

/**
 * Carries committed changes to the clients that have asked for them, as the method "Changed" with
 * the strings "Schema", "Context", "Reason" and "Id".
 *
 * As long as there is such a client, a thread asks the service once a second whether another
 * process has committed; without one there is no thread, and the service does not know of this
 * object, so that a host without listeners pays nothing.
 *
 * The service reports a change with the locks of its request held: that puts the change into the
 * queues of all clients before any answer could show it. So nothing there may wait, neither for a
 * client nor for a thread that calls the service.
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

private:
    using Names = std::set<std::string>;

    /// A client that has asked, weakly, so that it can leave.
    struct Listener {
        std::weak_ptr<Client> client;
        ProtocolAdapter* adapter;  // not owned
        Names schemas;             // none for all
    };

    /// The service reports a change. Called by any thread of the service; queues and returns.
    void changed(const DASChange& change) override;
    /// Whether a change of @p schema is for @p listener; a blank schema is for all.
    static bool hears(const Listener& listener, const std::string& schema);
    static Names namesOf(const std::string& list);
    /// What the thread does: looks for commits of other processes.
    void work(DASChangeSourceIfc& source);
    /// False when the object ends before @p time is over.
    bool wait(std::chrono::milliseconds time);
    /// Ends the thread if no listener is left. True when it has to return.
    bool stopWithoutListeners();
    bool hasListeners();

    /// Held while the source begins or ends to report. No thread that holds a lock of
    /// the service waits for it.
    std::mutex m_startMutex;
    DASChangeSourceIfc* m_source = nullptr;  ///< not owned; null while it does not report
    std::thread m_thread;

    std::mutex m_mutex;  ///< of what follows; comes after all locks of the service
    std::condition_variable m_ended;
    std::vector<Listener> m_listeners;
    bool m_isEnding = false;
};

#endif
