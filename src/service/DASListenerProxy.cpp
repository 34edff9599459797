#include "service/DASListenerProxy.h"

#include "Method.h"
#include "ProxyRequest.h"
#include "database/Logging.h"

namespace {

constexpr const char* LogComponent = "DataAccessService";
constexpr const char* LogSource = "./src/DASListenerProxy";

constexpr int typeWithoutAnswer = 0;

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
    m_proxyRequest->send(Method(methodName, typeWithoutAnswer));
}
