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
 * The adapter reports each commit. From the first one on the scope keeps the adapter's lock, so
 * that no thread reads what has changed before the listeners know, and they hear of changes in the
 * order of the commits. The destructor reports the change and releases the lock. A scope within
 * another is a part of it. Without a listener a scope does nothing.
 */
class ChangeScope {
public:
    /// Fills in the change, which comes with the context and the id of the rows that were noted.
    using Describe = std::function<void(DASChange&)>;

    /// @p listeners and what @p describe refers to must outlive the scope.
    ChangeScope(ChangeListeners& listeners, Describe describe);
    ~ChangeScope();
    ChangeScope(const ChangeScope&) = delete;
    ChangeScope& operator=(const ChangeScope&) = delete;

    /// Counts as changed from now on, whatever is committed.
    void markChanged();
    /// The same, and keeps the lock of @p adapter.
    void markChanged(DatabaseAdapter& adapter);

    /// Reports what has changed so far, and releases the locks. The destructor reports the rest.
    void report() noexcept;

    /**
     * Notes that the row changed since the last call is @p id of the user @p context, both escaped
     * for SQL. If several rows have changed, they are of that user and have no id. Rows that are
     * never noted make id and context blank. Nothing without a scope or a listener.
     */
    static void noteRow(DatabaseAdapter& adapter, const std::string& id,
                        const std::string& context);
    /// The same for a row with a number; the string is one as a request holds it, blank for none.
    static void noteNumber(DatabaseAdapter& adapter, long long number, const std::string& context);
    static void noteNumber(DatabaseAdapter& adapter, const std::string& number,
                           const std::string& context);
    /// The same for the setting @p name, of whatever users its rows are.
    static void noteSetting(DatabaseAdapter& adapter, const std::string& name,
                            const std::string& context);
    /// Notes that rows of other schemas may have changed too.
    static void noteOtherSchemas();

    /// As long as it lives, commits of this thread are not reported: a table is made, with its
    /// default rows, which every reader takes for granted.
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
    /// A transaction begins.
    void begin(const DatabaseAdapter& adapter);
    /// A transaction that has changed rows was committed.
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
    std::vector<DatabaseAdapter*> m_kept;  ///< whose locks are kept; not owned
    bool m_isChanged = false;
    int m_unreported = 0;

    int m_notedAt = 0;      ///< the adapter's count of changes when rows were noted last
    bool m_isNoted = false;  ///< m_id and m_context hold those of all rows so far
    bool m_reachesOtherSchemas = false;
    std::string m_id;
    std::string m_context;
};

#endif
