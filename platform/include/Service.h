#ifndef SERVICE_H
#define SERVICE_H

#include <string>

#include "Executable.h"
#include "Threadable.h"

class CommsChannelIfc;
class CommsChannelDataContainerMessage;

/**
 * The base of everything that the framework loads as a service.
 *
 * Slots in order: destructor, init, shutdown, timerEvent (all of Executable), handleMsg, run.
 */
class Service : public Executable, public Threadable {
public:
    ~Service() override;

    /**
     * Takes a raw message of @p length bytes from @p sender. A service that is reached through an
     * Invoker alone leaves this as it is: the message is dropped.
     *
     * @param channel   where an answer would go
     * @param container the message as the framework received it, may be null; not owned
     */
    virtual void handleMsg(const char* message, int length, std::string sender,
                           CommsChannelIfc& channel, CommsChannelDataContainerMessage* container);

    void run() override = 0;
};

#endif
