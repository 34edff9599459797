#ifndef TABLESPAGE_H
#define TABLESPAGE_H

#include <string>

/// The page of the documentation that lists the tables of the database.
namespace TablesPage {

/// @p page with its sections made anew. What stands in front of the first one is written by hand
/// and stays.
std::string of(const std::string& page);

}  // namespace TablesPage

#endif
