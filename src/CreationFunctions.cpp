// The library's edge: the one kind of symbol that the framework looks up.

#include "DataAccessService.h"

/// Allocates the service; the framework owns it and calls init next.
extern "C" __attribute__((visibility("default"))) Service* createDataAccessService();

extern "C" Service* createDataAccessService() {
    return new DataAccessService();
}
