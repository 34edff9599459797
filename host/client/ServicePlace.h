#ifndef SERVICEPLACE_H
#define SERVICEPLACE_H

struct HostOptions;

/**
 * Where a command finds the service. In this order: the socket of --socket; the folder of --db or
 * DB_PATH, in the process of the command; the socket of DAS_SOCKET; the socket of the installed
 * host, if a host answers there; the working directory.
 *
 * What is named explicitly wins, and what is named by an option wins over the environment. A socket
 * that is named and does not answer is an error, never a reason to look further: a command that
 * then worked on another database would do harm.
 */
namespace ServicePlace {

/// Stores in @p options the socket that the order leads to. None when the service is to be started
/// in this process; a command that needs a host has none then. To be called after --db went to the
/// environment.
void find(HostOptions& options);

/// Whether there is a database for a service in this process. If not, standard error says so, with
/// what to do; @p takesHost says whether the command could use a running host as well.
[[nodiscard]] bool hasDatabase(bool takesHost);

}  // namespace ServicePlace

#endif
