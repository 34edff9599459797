#ifndef ENVIRONMENT_H
#define ENVIRONMENT_H

#include <cstdlib>

/// Sets the variable @p name of the environment; a null @p value unsets it.
inline void setEnvironment(const char* name, const char* value) {
    if (value != nullptr) {
        setenv(name, value, 1);
    } else {
        unsetenv(name);
    }
}

#endif
