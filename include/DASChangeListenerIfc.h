#ifndef DASCHANGELISTENERIFC_H
#define DASCHANGELISTENERIFC_H

#include <string>

/// One committed change. All four are blank if anything may have changed.
struct DASChange {
    std::string schema;   ///< whose rows changed; blank if there are several schemas
    std::string context;  ///< "base" or "visitor"; blank for the telephone's rows, and if there are
                          ///< several
    std::string reason;   ///< of the request, or the name of the method; blank for a change of
                          ///< another process
    std::string id;       ///< number, key or setting of the changed row; blank if there are several
                          ///< or it is not known
};

/// A listener to committed changes. Register it by DASChangeSourceIfc::addChangeListener.
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

/// Registers listeners to committed changes. The service implements it; find it by dynamic_cast.
/// Any thread may call.
class DASChangeSourceIfc {
public:
    virtual ~DASChangeSourceIfc() = default;

    /// Adds a listener (not owned), which gets each change that is committed from now on. Waits for
    /// the end of a current transaction. Null is ignored.
    virtual void addChangeListener(DASChangeListenerIfc* listener) = 0;

    /// Removes a listener. When this returns, the listener is not called any more.
    virtual void removeChangeListener(DASChangeListenerIfc* listener) = 0;

    /**
     * Checks whether another process has committed since the last call, and reports this as a
     * change with blank fields. Never waits; does nothing without a listener.
     *
     * @return false when the database was in use, so that the look is to be repeated soon
     */
    virtual bool lookForOthers() = 0;
};

#endif
