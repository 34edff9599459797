#ifndef METHODS_H
#define METHODS_H

#include <string>
#include <vector>

#include "Parameter.h"

/**
 * The table of the remote methods, those of the service and those of the host itself.
 *
 * From its rows follow which methods the host answers itself, the command line with its help and
 * completion, the JSON schema, and the tables of the Python client and docs/remote.md. To add a
 * method of the host, add a row here and a function in framework/HostMethods.cpp; then run
 * scripts/contracts.
 */
namespace Methods {

/// Rights of a client, as bits. In the file of access rules each has a word. If you add a right
/// here, add its word there and in docs/remote.md.
enum Right : unsigned {
    None = 0,
    Read = 1,
    Write = 2,
    Files = 4,
    Profile = 8,
    Reset = 16,
    Listen = 32,
    Secrets = 64,
    All = 127
};

/// Where a call names its schema.
enum class Place {
    Nowhere,    ///< it has no schema
    Fixed,      ///< always the same one
    Parameter,  ///< a parameter holds its name
    List,       ///< a parameter holds names joined by commas; blank means all
    Request     ///< a parameter holds a request, and its reason and schema decide
};

/// The rights that a client needs for a call. Access rules use only this row and never the name of
/// a method, so a new method is checked by the contents of its row.
struct Access {
    unsigned everywhere;  ///< rights that are needed for all schemas
    unsigned ofSchema = None;
    Place place = Place::Nowhere;
    const char* name = "";  ///< name of the schema or of the parameter
};

/// One parameter, in its typed form.
struct Value {
    const char* name;
    Parameter::directions direction;
    Parameter::Type type;
    const char* text;      ///< what it is, in one sentence
    bool isAlways = true;  ///< false: it is optional, or appears only after a success
};

enum class Kind {
    Service,  ///< the service executes and answers it
    OneWay,   ///< the service executes it without an answer
    Host      ///< the host answers it itself
};

/// The strings live as long as the process.
struct Row {
    const char* name;
    const char* text;  ///< what the method does, in one sentence
    std::vector<Value> values;
    Access access;
    Kind kind = Kind::Service;
    /// The single parameter, an XML string, that replaces the others in the XML protocol; null for
    /// methods with the same form in both protocols.
    const char* xmlParameter = nullptr;

    /// The parameters of one direction, in their order.
    std::vector<Value> of(Parameter::directions direction) const;
};

/// A message for listeners: a call by the host without an answer. All its values are out
/// parameters.
struct Event {
    const char* name;
    const char* text;  ///< when it is sent, in one sentence
    std::vector<Value> values;
};

/// All messages for listeners.
const std::vector<Event>& events();

/// A reason of requests, and the right that it needs for its schema. Each schema decides which
/// reasons it serves; the needed right depends only on the reason.
struct Reason {
    const char* name;
    Right right;
};

/// All reasons that any schema serves.
const std::vector<Reason>& reasons();

/// The right that a request with the reason @p name needs; Write for an unknown reason.
Right rightOf(const std::string& name);

/// All methods, in the order of the documents.
const std::vector<Row>& all();

/// The method of that name, or null.
const Row* find(const std::string& name);

/// The names of all methods.
std::vector<std::string> names();

/// One line for each method, with the names and types of its in parameters.
std::string listing();

/// One parameter in the form of the listing, such as "Request=STRING".
std::string toText(const Value& parameter);

}  // namespace Methods

#endif
