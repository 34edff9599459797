#ifndef PROXYREQUEST_H
#define PROXYREQUEST_H

class Method;

/// The way from a proxy to its peer.
/// Owned by the framework. Any thread may send; the methods of one thread arrive in order.
class ProxyRequest {
public:
    virtual ~ProxyRequest();

    /// Hands @p method over to be sent. Never waits for the peer and never throws; whether the peer
    /// is still there is not told. No answer comes back.
    virtual void send(const Method& method) = 0;
};

#endif
