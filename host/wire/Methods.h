#ifndef METHODS_H
#define METHODS_H

#include <string>
#include <vector>

#include "Parameter.h"

/**
 * The table of the remote methods, those of the service and those of the host itself.
 *
 * What the host answers itself, the command line with its help and completion, the JSON schema, the
 * table of the Python client and the one in docs/remote.md all follow from its rows. A method of
 * the host is a row here and a function in framework/HostMethods.cpp; then run scripts/contracts.
 */
namespace Methods {

/// What a client may be allowed to do, as bits.
/// They are the words of the file of access rules: a row there names users and rights. A right that
/// is added here needs its word there and in docs/remote.md.
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

/// Where a call names the schema that it works on.
enum class Place {
    Nowhere,    ///< it works on none
    Fixed,      ///< always the same one
    Parameter,  ///< a parameter holds its name
    List,       ///< a parameter holds names, joined by commas; blank for all
    Request     ///< a parameter holds a request: its reason and its schema decide
};

/// What a client must be allowed to do for a call.
/// Access rules go by this row alone and never by the name of a method, so a new method is judged
/// by what its row says.
struct Access {
    unsigned everywhere;  ///< rights that are needed for all schemas
    unsigned ofSchema = None;
    Place place = Place::Nowhere;
    const char* name = "";  ///< of the schema or of the parameter
};

/// One parameter, in its typed form.
struct Value {
    const char* name;
    Parameter::directions direction;
    Parameter::Type type;
    const char* text;      ///< what it is, in one sentence
    bool isAlways = true;  ///< false: may be left out, or comes only after a success
};

enum class Kind {
    Service,  ///< the service answers it
    OneWay,   ///< the service carries it out and gives no answer
    Host      ///< the host answers it itself
};

/// The strings live as long as the process.
struct Row {
    const char* name;
    const char* text;  ///< what the method does, in one sentence
    std::vector<Value> values;
    Access access;
    Kind kind = Kind::Service;
    /// The one parameter, an XML string, that takes the place of the others in the XML protocol;
    /// null for methods that have the same form in both.
    const char* xmlParameter = nullptr;

    /// The parameters of one direction, in their order.
    std::vector<Value> of(Parameter::directions direction) const;
};

/// What a listener hears: a call by the host that gets no answer. Its values all go out.
struct Event {
    const char* name;
    const char* text;  ///< when a listener hears it, in one sentence
    std::vector<Value> values;
};

/// All of them.
const std::vector<Event>& events();

/// A reason of requests, and the right that it needs for its schema.
/// Which reasons a schema serves is up to the schema; what a client must be allowed to do follows
/// from the reason alone.
struct Reason {
    const char* name;
    Right right;
};

/// All reasons that a schema serves.
const std::vector<Reason>& reasons();

/// The right that a request of the reason @p name needs: Write for one that is not known.
Right rightOf(const std::string& name);

/// All methods, in the order of documents.
const std::vector<Row>& all();

/// The method of that name, or null.
const Row* find(const std::string& name);

/// The names of all methods.
std::vector<std::string> names();

/// One line for each method, with the names and types of its in parameters.
std::string listing();

/// One parameter as it stands in the listing, such as "Request=STRING".
std::string toText(const Value& parameter);

}  // namespace Methods

#endif
