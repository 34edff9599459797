// The creation functions, which are the only functions that the framework looks up in the library.

#include "service/DASInvoker.h"
#include "service/DASListenerProxy.h"
#include "service/DataAccessService.h"

#define DAS_EXPORTED extern "C" __attribute__((visibility("default")))

/// Allocates the service; the framework owns it and calls init next.
DAS_EXPORTED Service* createDataAccessService();

/// Allocates the skeleton of the remote methods; the framework owns it and calls initInvoker next.
DAS_EXPORTED Invoker* createDASInvoker();

/// Allocates the stand-in for a remote DASListenerIfc; the framework owns it and calls initProxy
/// next.
DAS_EXPORTED Proxy* createDASListenerProxy();

Service* createDataAccessService() {
    return new DataAccessService();
}

Invoker* createDASInvoker() {
    return new DASInvoker();
}

Proxy* createDASListenerProxy() {
    return new DASListenerProxy();
}
