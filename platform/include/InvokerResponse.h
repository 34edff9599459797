#ifndef INVOKERRESPONSE_H
#define INVOKERRESPONSE_H

#include <string>

/// The connection back to the sender of one message. The framework creates it for each message; the
/// code that handles the message deletes it, with or without a reply.
class InvokerResponse {
public:
    virtual ~InvokerResponse();

    /// The name of the protocol of the message, such as AurelProtocols::SERVICE_JSON.
    virtual std::string getProtocol() const = 0;

    /// The name by which the framework knows the sender; see FrameworkContext::findProxy.
    virtual std::string getSender() const = 0;

    /// Sends the reply, encoded in the protocol of the message; call it at most once. It does not
    /// wait for the sender. If the sender has disconnected, the reply is dropped.
    virtual void setReply(const std::string& reply) = 0;
};

#endif
