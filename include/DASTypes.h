#ifndef DASTYPES_H
#define DASTYPES_H

#include <list>
#include <string>
#include <utility>
#include <vector>

/// Name first, value second. Values are in database form wherever an SQL builder takes them.
/// The same type serves columns with their types, conditions, and new values; each declaration says
/// which. Most builders empty the lists that they take.
using PairList = std::vector<std::pair<std::string, std::string>>;

/// Rows of a query: one inner vector a row, one text a cell, in the order of the columns asked for.
using Rows = std::vector<std::vector<std::string>>;

/// A listing: each directory with what was found in it.
using DirectoryList = std::vector<std::pair<std::string, std::list<std::string>>>;

/// Whose rows an import or export is about. Any other number may arrive and means all users.
enum eUserCategory : int { base = 0, visitor = 1 };

/// The kind of software on a telephone. 1 and 2 have rules of their own, any other number has none.
enum eSwType : int {};

#endif
