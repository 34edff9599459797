#ifndef DASTYPES_H
#define DASTYPES_H

#include <list>
#include <string>
#include <utility>
#include <vector>

/// Name first, value second. Values for SQL builders are in database form. The same type serves
/// columns with their types, conditions, and new values; each declaration says which. Most builders
/// empty the lists that they take.
using PairList = std::vector<std::pair<std::string, std::string>>;

/// Rows of a query: one inner vector for each row, one string for each cell, in the order of the
/// requested columns.
using Rows = std::vector<std::vector<std::string>>;

/// A listing: each directory with the names found in it.
using DirectoryList = std::vector<std::pair<std::string, std::list<std::string>>>;

/// Whose rows an import or export is for. Any other number means all users.
enum eUserCategory : int { base = 0, visitor = 1 };

/// The kind of software on a telephone. There are rules for 1 and 2, and none for other numbers.
enum eSwType : int {};

#endif
