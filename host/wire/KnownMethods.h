#ifndef KNOWNMETHODS_H
#define KNOWNMETHODS_H

#include <string>
#include <vector>

#include "Parameter.h"

/// The remote methods as a client sees them, in their typed form. The library keeps its own table;
/// this one is for the people at the command line.
namespace KnownMethods {

struct In {
    const char* name;
    Parameter::Type type;
};

struct Out {
    const char* name;
    Parameter::Type type;
    bool isAlways = true;  ///< false: only after a success
};

struct Entry {
    const char* name;
    std::vector<In> in;
    bool isOneWay;
    std::vector<Out> out;
    /// The one parameter, an XML text, that takes the place of the others in the XML protocol; null
    /// for methods that have the same form in both.
    const char* xmlParameter = nullptr;
};

/// The method of that name, or null.
const Entry* find(const std::string& name);

/// The names of all methods.
std::vector<std::string> names();

/// A line a method, with the names and types of its in parameters.
std::string listing();

/// One parameter as it stands in the listing, such as "Request=STRING".
std::string toText(const In& parameter);

}  // namespace KnownMethods

#endif
