#ifndef FRAMEWORKCONTEXT_H
#define FRAMEWORKCONTEXT_H

#include <string>

class ProtocolAdapter;
class Proxy;

/// The framework as an invoker sees it. Any thread may call.
class FrameworkContext {
public:
    virtual ~FrameworkContext();

    /// The adapter of the protocol @p name, or null for an unknown one. Not owned by the caller;
    /// valid as long as the context.
    virtual ProtocolAdapter* findProtocolAdapter(const std::string& name) = 0;

    /**
     * A stand-in in this process for the object of @p sender that offers @p interface, such as
     * "DASListenerIfc".
     *
     * @param sender as InvokerResponse::getSender gives it
     * @return null when the interface or the sender is not known. Not owned by the caller; valid as
     *         long as the context, also after the sender has gone: what is sent goes nowhere then.
     */
    virtual Proxy* findProxy(const std::string& interface, const std::string& sender) = 0;
};

#endif
