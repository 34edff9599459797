#ifndef CONTEXT_H
#define CONTEXT_H

#include <string>

class Executable;

/// The framework as a service sees it: the list of services that run next to it.
class Context {
public:
    virtual ~Context();

    /**
     * Finds a running service by the name under which it was registered, such as "LocalMgmtIfc".
     *
     * @return the service, or null when none of that name runs. Not owned by the caller; valid as
     *         long as the context.
     */
    virtual Executable* findService(const std::string& name) = 0;
};

#endif
