#ifndef TABLEFACTS_H
#define TABLEFACTS_H

#include <string>
#include <vector>

#include "schemas/KnownSchemas.h"

class DAOFactory;
class DatabaseAdapter;

/**
 * Asks the service's objects for all that can be known of @p schemas.
 *
 * When das is built, a program that is linked with the service calls this and writes the result,
 * which das reads. So das always agrees with the service, although it is not linked with it.
 *
 * Makes the tables in the database of @p adapter, writes to the telephone's "/tmp", and takes the
 * log for itself meanwhile: for a place made for the purpose.
 *
 * @return the facts in the order of the schemas; one that is not served has no reasons
 */
std::vector<KnownSchemas::Entry> collectFacts(const std::vector<std::string>& schemas,
                                              DAOFactory& factory, DatabaseAdapter& adapter);

#endif
