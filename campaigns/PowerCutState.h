#ifndef POWERCUTSTATE_H
#define POWERCUTSTATE_H

#include <filesystem>
#include <string>

#include "testkit/Place.h"

/// The state after a power cut, as text that can be compared.
namespace PowerCutState {

/// All contents of a telephone's folders, a line each: the schema and the rows of its database, the
/// names of its files, and the contents of files that do not belong to the service.
std::string dump(const PhonePlace& place);

/// The number of lines that only one of the two has, with the first of them.
std::string difference(const std::string& wanted, const std::string& found);

/// What SQLite finds wrong with a database; blank for nothing.
std::string integrity(const std::filesystem::path& database);

}  // namespace PowerCutState

#endif
