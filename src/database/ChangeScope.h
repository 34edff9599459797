#ifndef CHANGESCOPE_H
#define CHANGESCOPE_H

#include <functional>
#include <string>
#include <vector>

#include "DASChangeListenerIfc.h"
#include "database/ChangeListeners.h"

class DatabaseAdapter;

/**
 * One request or method, whose commits on this thread are one change for the listeners.
 *
 * The adapter reports each commit. From the first commit on, the scope keeps the adapter's lock. So
 * no thread reads the changed rows before the listeners are called, and the listeners are called in
 * the order of the commits. The destructor reports the change and releases the lock. A scope within
 * another is a part of it. Without a listener a scope does nothing.
 */
class ChangeScope {
public:
    /// Fills in the change, in which the context and the id of the noted rows are already set.
    using Describe = std::function<void(DASChange&)>;

    /// @p listeners and what @p describe refers to must outlive the scope.
    ChangeScope(ChangeListeners& listeners, Describe describe);
    ~ChangeScope();
    ChangeScope(const ChangeScope&) = delete;
    ChangeScope& operator=(const ChangeScope&) = delete;

    /// From now on the scope reports a change, even if nothing is committed.
    void markChanged();
    /// The same, and keeps the lock of @p adapter until the report.
    void markChanged(DatabaseAdapter& adapter);

    /// Reports what has changed so far, and releases the locks. The destructor reports the rest.
    void report() noexcept;

    /**
     * Notes that the rows changed since the last call are the row @p id of the user @p context;
     * both are escaped for SQL. If several rows have changed since then, all belong to that user,
     * and the change has no id. If a changed row is never noted, the change has neither id nor
     * context. Without a scope or a listener this does nothing.
     */
    static void noteRow(DatabaseAdapter& adapter, const std::string& id,
                        const std::string& context);
    /// The same for a row with a number. The string form is the number as the request holds it;
    /// blank if it holds no number.
    static void noteNumber(DatabaseAdapter& adapter, long long number, const std::string& context);
    static void noteNumber(DatabaseAdapter& adapter, const std::string& number,
                           const std::string& context);
    /// The same for the setting @p name, for all users.
    static void noteSetting(DatabaseAdapter& adapter, const std::string& name,
                            const std::string& context);
    /// Notes that rows of other schemas may have changed too.
    static void noteOtherSchemas();

    /// While this object lives, commits of this thread are not reported. It is for the creation of
    /// a table with its default rows: readers always see a table as if it had them, so nothing
    /// changes for them.
    class Unreported {
    public:
        explicit Unreported(DatabaseAdapter& adapter);
        ~Unreported();
        Unreported(const Unreported&) = delete;
        Unreported& operator=(const Unreported&) = delete;

    private:
        DatabaseAdapter& m_adapter;
    };

    // For the adapter, with its lock held.

    /// The scope of this thread; null without one or without a listener.
    [[nodiscard]] static ChangeScope* heard();
    [[nodiscard]] ChangeListeners& listeners() { return m_listeners; }
    /// Called when a transaction begins.
    void begin(const DatabaseAdapter& adapter);
    /// Called when a transaction that has changed rows was committed.
    void committed(DatabaseAdapter& adapter);

private:
    void note(DatabaseAdapter& adapter, int mostRows, const std::string& id,
              const std::string& context);
    ChangeScope& outermost();
    [[nodiscard]] bool keepsLock() const { return !m_kept.empty(); }
    [[nodiscard]] DASChange change() const;

    ChangeListeners& m_listeners;
    const Describe m_describe;
    ChangeScope* const m_outer;
    std::vector<DatabaseAdapter*> m_kept;  ///< adapters whose locks this scope keeps; not owned
    bool m_isChanged = false;
    int m_unreported = 0;

    int m_notedAt = 0;      ///< the adapter's count of changes when rows were last noted
    bool m_isNoted = false;  ///< m_id and m_context hold the id and context of all rows noted so
                             ///< far
    bool m_reachesOtherSchemas = false;
    std::string m_id;
    std::string m_context;
};

#endif
