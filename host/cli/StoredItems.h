#ifndef STOREDITEMS_H
#define STOREDITEMS_H

#include <string>
#include <vector>

#include "schemas/KnownSchemas.h"

class Connection;
struct HostOptions;

/// The names of the items that a schema of settings has at the moment, for completion. What can't
/// be read has none: a person who types is not interrupted by a complaint.
/// Only settings need this: the columns of all other schemas are known from the tables.
namespace StoredItems {

/// Asks the service at the other end of @p connection.
std::vector<std::string> ask(Connection& connection, const KnownSchemas::Entry& schema);

/// Asks the host that @p options or the environment lead to, or else looks into the database's
/// file. Starts no service, since a start may change the database.
std::vector<std::string> find(HostOptions options, const KnownSchemas::Entry& schema);

}  // namespace StoredItems

#endif
