// The service calls a listener as an object. For a remote listener the call becomes a message
// without an answer, so a client that has disconnected never delays the service.

#include "service/DASListenerProxy.h"

#include "Log.h"
#include "Method.h"
#include "ProxyRequest.h"

namespace {

constexpr int TypeWithoutAnswer = 0;

}  // namespace

void DASListenerProxy::profileChangedToBase() {
    send("ProfileChangedToBase");
}

void DASListenerProxy::profileChangedToVisitor() {
    send("ProfileChangedToVisitor");
}

void DASListenerProxy::send(const char* methodName) {
    if (m_proxyRequest == nullptr) {
        DAS_LOG(2, "No way to a listener for %s", methodName);
        return;
    }
    m_proxyRequest->send(Method(methodName, TypeWithoutAnswer));
}
