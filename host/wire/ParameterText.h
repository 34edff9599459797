#ifndef PARAMETERTEXT_H
#define PARAMETERTEXT_H

#include <string>

#include "Parameter.h"

/// The value of @p parameter as text; @p write converts a string or XML. Both protocols write
/// numbers and truth values in the same way, and differ in how they quote a string. There is no
/// line feed at the end.
template <typename Write>
std::string textOf(const Parameter& parameter, Write write) {
    switch (parameter.type) {
        case Parameter::Type::Int:
            return std::to_string(parameter.number);
        case Parameter::Type::Bool:
            return parameter.flag ? "true" : "false";
        default:
            return write(parameter.text);
    }
}

#endif
