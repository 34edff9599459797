// The framework's interfaces: what they do unless a service does otherwise. The destructors stand
// here, so that each class has one home for its type information that host and libraries share.

#include "CommsChannel.h"
#include "Context.h"
#include "Executable.h"
#include "Service.h"
#include "Threadable.h"

Executable::~Executable() = default;

void Executable::timerEvent(int /*timerId*/) {}

Threadable::~Threadable() = default;

Service::~Service() = default;

void Service::handleMsg(const char* /*message*/, int /*length*/, std::string /*sender*/,
                        CommsChannelIfc& /*channel*/,
                        CommsChannelDataContainerMessage* /*container*/) {}

Context::~Context() = default;

CommsChannelIfc::~CommsChannelIfc() = default;

CommsChannelDataContainerMessage::~CommsChannelDataContainerMessage() = default;
