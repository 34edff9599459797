#ifndef SERVICEPLACE_H
#define SERVICEPLACE_H

struct HostOptions;

/**
 * Where a command finds the service. In this order: the socket of --socket; the folder of --db or
 * DB_PATH, in the process of the command; the socket of DAS_SOCKET; the socket of the installed
 * host, if a host answers there; the working directory.
 *
 * An explicit name wins, and an option wins over the environment. If a named socket does not
 * answer, this is an error, and the search ends: a command that then used another database would do
 * harm.
 */
namespace ServicePlace {

/// Finds the service in that order. If it is a socket, stores it in @p options. Otherwise
/// @p options has no socket: the service is then started in this process, and a command that needs
/// a host fails. Call this after --db was copied to the environment.
void find(HostOptions& options);

/// Whether there is a database for a service in this process. If not, prints a message with advice
/// on standard error; @p takesHost says whether the command could use a running host as well.
[[nodiscard]] bool hasDatabase(bool takesHost);

}  // namespace ServicePlace

#endif
