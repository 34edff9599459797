#ifndef DASCHANGELISTENERIFC_H
#define DASCHANGELISTENERIFC_H

#include <string>

/// One committed change. All four are blank when anything may have changed.
struct DASChange {
    std::string schema;   ///< whose rows changed; blank for several
    std::string context;  ///< "base" or "visitor"; blank for the telephone's rows and for several
    std::string reason;   ///< of the request, or the name of the method; blank for another process
    std::string id;       ///< number, key or setting of the one row; blank for several and unknown
};

/// Hears of committed changes. Registered with DASChangeSourceIfc::addChangeListener.
class DASChangeListenerIfc {
public:
    virtual ~DASChangeListenerIfc() = default;

    /**
     * Called once for each request or method that has changed rows, after the commit and before any
     * answer can show the change, in the order of the commits.
     *
     * Called on the thread that made the change, while locks of the service are held: only note the
     * change and return. A call of the service from here would wait for itself.
     */
    virtual void changed(const DASChange& change) = 0;
};

/// Where committed changes are known; found on the service by dynamic_cast. Any thread may call.
class DASChangeSourceIfc {
public:
    virtual ~DASChangeSourceIfc() = default;

    /// Adds a listener, which hears each change that is committed from now on; not owned. Waits for
    /// a transaction that has begun. A null one is ignored.
    virtual void addChangeListener(DASChangeListenerIfc* listener) = 0;

    /// Removes a listener. It is not called any more when this returns.
    virtual void removeChangeListener(DASChangeListenerIfc* listener) = 0;

    /**
     * Looks whether another process has committed since the last look, and reports that as a change
     * with blank texts. Waits for nothing; does nothing without a listener.
     *
     * @return false when the database was in use, so that the look is to be repeated soon
     */
    virtual bool lookForOthers() = 0;
};

#endif
