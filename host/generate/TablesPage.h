#ifndef TABLESPAGE_H
#define TABLESPAGE_H

#include <string>

/// The page of the documentation that lists the tables of the database.
namespace TablesPage {

/// Returns @p page with its sections made again. The text before the first section is written by
/// hand and stays.
std::string of(const std::string& page);

}  // namespace TablesPage

#endif
