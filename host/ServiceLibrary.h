#ifndef SERVICELIBRARY_H
#define SERVICELIBRARY_H

#include <memory>
#include <string>

class Service;

/**
 * The shared library of the service, found and loaded at run time.
 *
 * A loaded library stays until the process ends: threads and exit handlers may still stand in it.
 */
class ServiceLibrary {
public:
    /**
     * Loads the library, from "../lib" seen from this program, then from where the loader looks,
     * and makes one service with its creation function.
     *
     * @param error takes one line when the result is null
     * @return the new service, not yet started; null when the library or its creation function is
     *         missing or can't be used
     */
    [[nodiscard]] static std::unique_ptr<Service> createService(std::string& error);
};

#endif
