#ifndef INVOKER_H
#define INVOKER_H

class Executable;
class FrameworkContext;
class InvokerResponse;

/**
 * The skeleton of a service: turns the messages of other processes into calls.
 *
 * The order of the virtual operations is part of the contract between the framework and the
 * libraries that it loads.
 */
class Invoker {
public:
    virtual ~Invoker();

    /**
     * Handles one message on the caller's thread; any thread may call.
     *
     * @param executable the service that the message is for; not owned
     * @param message    @p length bytes, encoded in the protocol that @p response names
     * @param response   the way back; deleted here in every case
     */
    virtual void handleMessage(Executable* executable, const char* message, int length,
                               InvokerResponse* response) = 0;

    /// Called once, before any message. @p context outlives the invoker; not owned.
    virtual void initInvoker(FrameworkContext* context) = 0;
};

#endif
