#ifndef ODDDATABASE_H
#define ODDDATABASE_H

#include <random>
#include <string>
#include <vector>

#include "testkit/Sql.h"

/// The columns of a table of the schema; empty if there is no such table.
std::vector<std::string> columnsOf(const Sql& db, const std::string& table,
                                   const std::string& schema = "main");

/**
 * Makes the tables of an earlier form, and most of those that the statements @p today make, with
 * columns, keys and contents that no release made. A cell that no step reads has a value of its
 * own.
 *
 * @return what was made. Throws std::runtime_error if that fails.
 */
std::string makeOddDatabase(const Sql& db, const std::vector<std::string>& today,
                            std::mt19937& random);

#endif
