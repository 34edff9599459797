#ifndef PROXY_H
#define PROXY_H

#include "Executable.h"

class ProxyRequest;

/// Stands in this process for an object of another one.
/// A subclass also implements the interface of the object, and turns each call of it into a method
/// that goes to the peer. What the peer answers, if anything, is lost.
class Proxy : public Executable {
public:
    void init(Context& context) override;  ///< does nothing
    void shutdown() override;              ///< does nothing

    /// Called once, before any other use. @p request is the way to the peer; it outlives the proxy
    /// and is not owned.
    virtual void initProxy(ProxyRequest& request) = 0;
};

#endif
