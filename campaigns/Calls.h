#ifndef CALLS_H
#define CALLS_H

#include <string>
#include <utility>
#include <vector>

#include "Method.h"

/// Remote methods as a framework hands them over.
namespace Calls {

/// A call of the method @p name. "true" and "false" become bools, whole numbers ints.
Method method(const std::string& name, const std::vector<std::pair<std::string, std::string>>& in);

/// A call that carries the request @p text.
Method request(const std::string& text);

/// The text of the answer to a request; blank without one.
std::string responseIn(const Method& answer);

}  // namespace Calls

#endif
