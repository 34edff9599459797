#ifndef PROXYREQUEST_H
#define PROXYREQUEST_H

class Method;

/// The connection from a proxy to its peer. Owned by the framework. Any thread may send; the
/// methods of one thread arrive in order.
class ProxyRequest {
public:
    virtual ~ProxyRequest();

    /// Queues @p method for sending. Never waits for the peer, never throws, and does not report
    /// whether the peer is still connected. There is no answer.
    virtual void send(const Method& method) = 0;
};

#endif
