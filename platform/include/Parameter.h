#ifndef PARAMETER_H
#define PARAMETER_H

#include <string>

/**
 * One named value of a remote method.
 *
 * Only the member for its type has a meaning: `text` for a string and an XML text, `number` for an
 * int, `flag` for a bool.
 */
struct Parameter {
    /// Who sets the value: the caller, the service, or both. The numbers are part of the contract.
    enum directions { in = 0, out = 1, inout = 2 };

    /// Xml is encoded like String, but a client should parse it as XML.
    enum class Type { String, Int, Bool, Xml };

    std::string name;
    Type type;
    directions direction;
    std::string text;
    int number;
    bool flag;
};

#endif
