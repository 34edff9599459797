#ifndef SERVICELIBRARY_H
#define SERVICELIBRARY_H

#include <memory>
#include <string>

/**
 * The shared library of the service, found and loaded at run time.
 *
 * A loaded library is never unloaded: threads and exit handlers may still run its code.
 */
class ServiceLibrary {
public:
    /**
     * Loads the library, from "../lib" relative to this program, else from where the loader looks.
     *
     * @param error receives one line if the result is false
     */
    [[nodiscard]] bool open(std::string& error);

    /**
     * Creates an object with the creation function @p name, which returns a plain pointer to
     * @p Type.
     *
     * @param error receives one line if the result is null
     * @return null if the function is missing or returns null
     */
    template <typename Type>
    [[nodiscard]] std::unique_ptr<Type> create(const char* name, std::string& error) const {
        const auto function = reinterpret_cast<Type* (*)()>(find(name, error));
        std::unique_ptr<Type> object(function == nullptr ? nullptr : function());
        if (function != nullptr && object == nullptr) {
            error = std::string(name) + " made nothing";
        }
        return object;
    }

private:
    /// The symbol @p name of the library; null, with the reason in @p error, if it is missing.
    void* find(const char* name, std::string& error) const;

    /// Null until open() has succeeded. Never closed, as the class says.
    void* m_handle = nullptr;
};

#endif
