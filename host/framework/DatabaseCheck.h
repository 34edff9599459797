#ifndef DATABASECHECK_H
#define DATABASECHECK_H

#include <string>
#include <vector>

/**
 * Looks at the place where the service will open its database: DB_PATH, or the working directory
 * when that is unset. Nothing is changed.
 *
 * @return a line with the system's words for each, the folder and the file, that is missing, of the
 *         wrong kind, or not readable or writable. The file is left out where there is no folder; a
 *         missing one in a good folder is reported as well, since the service makes a new one
 * there.
 */
std::vector<std::string> databaseProblems();

#endif
