#ifndef PROXY_H
#define PROXY_H

#include "Executable.h"

class ProxyRequest;

/// Represents an object of another process in this one. A subclass also implements the interface of
/// that object, and turns each call into a method that is sent to the peer. Answers of the peer are
/// dropped.
class Proxy : public Executable {
public:
    void init(Context& context) override;  ///< does nothing
    void shutdown() override;              ///< does nothing

    /// Called once, before any other use. @p request sends to the peer; it outlives the proxy and
    /// is not owned.
    virtual void initProxy(ProxyRequest& request) = 0;
};

#endif
