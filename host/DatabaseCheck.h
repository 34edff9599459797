#ifndef DATABASECHECK_H
#define DATABASECHECK_H

#include <string>

/**
 * Looks at the place where the service will open its database: DB_PATH, or the working directory
 * when that is unset. Nothing is changed.
 *
 * @return one line with the system's words for what is missing, of the wrong kind, or not readable
 *         or writable; empty when nothing is. A missing file in a good folder is told as well,
 * since the service makes a new one there.
 */
std::string databaseProblem();

#endif
