#ifndef SERVICE_H
#define SERVICE_H

#include <string>

#include "Executable.h"
#include "Threadable.h"

class CommsChannelIfc;
class CommsChannelDataContainerMessage;

/**
 * The base class of every service that the framework loads.
 *
 * Slots in order: destructor, init, shutdown, timerEvent (all of Executable), handleMsg, run.
 */
class Service : public Executable, public Threadable {
public:
    ~Service() override;

    /**
     * Takes a raw message of @p length bytes from @p sender. A service that is only used through an
     * Invoker does not override this: the message is dropped.
     *
     * @param channel   where an answer would go
     * @param container the message as the framework received it, may be null; not owned
     */
    virtual void handleMsg(const char* message, int length, std::string sender,
                           CommsChannelIfc& channel, CommsChannelDataContainerMessage* container);

    void run() override = 0;
};

#endif
