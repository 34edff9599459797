#ifndef DASLISTENERIFC_H
#define DASLISTENERIFC_H

/// A listener to changes of the telephone's user. Register it by DataAccessServiceIfc::addListener.
/// The service does not own it. It must outlive the service, since it can't be removed. The order
/// of the virtual functions is a contract between separately built libraries.
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
