#ifndef STOREDITEMS_H
#define STOREDITEMS_H

#include <string>
#include <vector>

#include "schemas/KnownSchemas.h"

class Connection;
struct HostOptions;

/// The names of the items that a schema of settings has at the moment, for completion. If they
/// can't be read, the list is empty: an error message would interrupt a person who types. Only
/// settings need this, since the columns of all other schemas are known from the tables.
namespace StoredItems {

/// Asks the service at the other end of @p connection.
std::vector<std::string> ask(Connection& connection, const KnownSchemas::Entry& schema);

/// Asks the host that @p options or the environment name, or else reads the database's file. It
/// starts no service, since a start may change the database.
std::vector<std::string> find(HostOptions options, const KnownSchemas::Entry& schema);

}  // namespace StoredItems

#endif
