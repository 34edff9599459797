#ifndef PARAMETERTEXT_H
#define PARAMETERTEXT_H

#include <string>

#include "Parameter.h"

/// The value of @p parameter as text; @p write makes the text of a string or of XML.
/// Both protocols write a number and a truth value alike; what differs is how each of them quotes a
/// string. The text is not terminated by a line feed.
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
