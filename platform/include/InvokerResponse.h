#ifndef INVOKERRESPONSE_H
#define INVOKERRESPONSE_H

#include <string>

/// The way back to the sender of one message. Made by the framework for each message; whoever
/// handles the message deletes it, with or without a reply.
class InvokerResponse {
public:
    virtual ~InvokerResponse();

    /// The name of the protocol of the message, such as AurelProtocols::SERVICE_JSON.
    virtual std::string getProtocol() const = 0;

    /// The name by which the framework knows the sender; see FrameworkContext::findProxy.
    virtual std::string getSender() const = 0;

    /// Takes the reply, encoded in the protocol of the message, at most once.
    /// Does not wait for the sender; a reply to one that has gone is dropped.
    virtual void setReply(const std::string& reply) = 0;
};

#endif
