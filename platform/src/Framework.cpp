// Default implementations of the framework's interfaces. The destructors are defined here, so that
// the type information of each class exists only once for host and libraries.

#include "CommsChannel.h"
#include "Context.h"
#include "Executable.h"
#include "FrameworkContext.h"
#include "Invoker.h"
#include "InvokerResponse.h"
#include "LocalMgmtIfc.h"
#include "ManageableData.h"
#include "MediaControlServiceIfc.h"
#include "ProtocolAdapter.h"
#include "Proxy.h"
#include "ProxyRequest.h"
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

Invoker::~Invoker() = default;

InvokerResponse::~InvokerResponse() = default;

FrameworkContext::~FrameworkContext() = default;

ProtocolAdapter::~ProtocolAdapter() = default;

void Proxy::init(Context& /*context*/) {}

void Proxy::shutdown() {}

ProxyRequest::~ProxyRequest() = default;

LocalMgmtIfc::~LocalMgmtIfc() = default;

MediaControlServiceIfc::~MediaControlServiceIfc() = default;

void ManageableData::populate(const std::string& item, const std::string& name,
                              const std::string& value) {
    m_item = item;
    m_name = name;
    m_value = value;
}
