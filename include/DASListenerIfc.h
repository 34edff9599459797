#ifndef DASLISTENERIFC_H
#define DASLISTENERIFC_H

/// Hears of each change of the telephone's user. Registered with DataAccessServiceIfc::addListener.
/// The service does not own it: it must outlive the service, since there is no way to remove one.
/// The slots are a contract between separately built libraries and keep their order.
class DASListenerIfc {
public:
    virtual ~DASListenerIfc() = default;

    /// The telephone serves its owner from now on. Called on the thread that made the change, while
    /// requests wait: a listener that sends a request from here would wait for itself.
    virtual void profileChangedToBase() = 0;

    /// The telephone serves a visitor from now on. Called like profileChangedToBase.
    virtual void profileChangedToVisitor() = 0;
};

#endif
