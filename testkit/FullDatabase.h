#ifndef FULLDATABASE_H
#define FULLDATABASE_H

#include <filesystem>
#include <string>
#include <vector>

class DataAccessService;
class Sql;

/// Databases in which every table has rows, and requests that go to each of them.
namespace FullDatabase {

/// The messages of examples/, in their order: service words and requests of each kind.
std::vector<std::string> examples();

/// A read and a row count of every schema.
std::vector<std::string> reads();

/// Gives @p service rows in every table: contacts, calls, conversations, keys, settings.
void fill(DataAccessService& service);

/// Makes a full database of today in the folder that the environment names. It is made by a process
/// of its own: the service has statics, which each later process finds as they are at first.
void makeToday();

/// The forms of databases of earlier releases, by the names of their texts in tests/databases.
std::vector<std::string> forms();

/// Makes the tables of the form @p form, and those of settings if it has none.
void makeTables(const Sql& db, const std::string& form);

/// Makes the database @p file in the form @p form, with rows of both users in every table that its
/// text leaves empty. Throws std::runtime_error when that fails.
void makeForm(const std::filesystem::path& file, const std::string& form);

}  // namespace FullDatabase

#endif
