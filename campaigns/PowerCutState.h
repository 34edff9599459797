#ifndef POWERCUTSTATE_H
#define POWERCUTSTATE_H

#include <filesystem>
#include <string>

#include "testkit/Place.h"

/// What a power cut has left, as texts that can be compared.
namespace PowerCutState {

/// All that a place holds, a line each: the schema and the rows of its database, its files, and the
/// contents of those that are not the service's own.
std::string dump(const PhonePlace& place);

/// How many lines one of the two has alone, with the first of them.
std::string difference(const std::string& wanted, const std::string& found);

/// What SQLite finds wrong with a database; blank for nothing.
std::string integrity(const std::filesystem::path& database);

}  // namespace PowerCutState

#endif
