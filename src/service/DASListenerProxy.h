#ifndef DASLISTENERPROXY_H
#define DASLISTENERPROXY_H

#include "DASListenerIfc.h"
#include "Proxy.h"

/// A listener in another process: each change of the user is sent there as a method of that name,
/// without parameters and without an answer. Before initProxy nothing is sent. The service calls it
/// like any listener. The other process may be slow or may have ended; ProxyRequest deals with that
/// and never waits.
class DASListenerProxy : public Proxy, public DASListenerIfc {
public:
    void initProxy(ProxyRequest& request) override { m_proxyRequest = &request; }
    void profileChangedToBase() override;
    void profileChangedToVisitor() override;

private:
    /// Builds the method and passes it on. Does nothing before initProxy.
    void send(const char* methodName);

    ProxyRequest* m_proxyRequest = nullptr;  // not owned
};

#endif
